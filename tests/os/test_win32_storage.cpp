#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "os/device_io.h"
#include "os/fake/fake_device_io.h"
#include "os/fake/fake_system_info.h"
#include "os/storage_control.h"
#include "os/system_info.h"
#include "support/fake_disks.h"
#ifdef _WIN32
#include "os/win32/win32_device_io.h"
#include "os/win32/win32_system_info.h"
#endif

namespace rigel::os {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint32_t Uint32At(const Bytes& bytes, std::size_t offset) {
    return static_cast<std::uint32_t>(bytes[offset] | bytes[offset + 1] << 8 |
                                      bytes[offset + 2] << 16 | bytes[offset + 3] << 24);
}

// Volumes as Wine's machine has them: C:\ and Z:\, both fixed, and the buffer protocol of the
// drive list; free space no larger than the capacity; ANSI text in code page 1252.
void CheckVolumeContract(SystemInfo& info) {
    std::wstring strings;
    const std::uint32_t length = info.LogicalDriveStrings(400, strings);
    EXPECT_EQ(strings, std::wstring(L"C:\\\0Z:\\\0", 8));
    EXPECT_EQ(length, 8u);
    std::wstring untouched = L"kept";
    EXPECT_EQ(info.LogicalDriveStrings(2, untouched), 9u) << "the room with the final terminator";
    EXPECT_EQ(untouched, L"kept");

    for (const wchar_t* root : {L"C:\\", L"Z:\\"}) {
        EXPECT_EQ(info.DriveType(root), SystemInfo::kDriveFixed) << root;
        DiskSpace space;
        ASSERT_TRUE(info.DiskFreeSpace(root, space)) << root;
        EXPECT_GT(space.totalBytes, 0u);
        EXPECT_LE(space.totalFreeBytes, space.totalBytes);
        EXPECT_LE(space.freeBytesAvailable, space.totalFreeBytes);
    }
    EXPECT_EQ(info.DriveType(L"Q:\\"), SystemInfo::kDriveNoRootDir);
    DiskSpace none;
    EXPECT_FALSE(info.DiskFreeSpace(L"Q:\\", none));

    std::wstring text;
    EXPECT_EQ(info.AnsiToWide("Abc\xE9", text), 4u);
    EXPECT_EQ(text, L"Abc\u00E9");
    EXPECT_EQ(info.AnsiToWide("", text), 0u);
}

// The first disk as Wine answers for it: a device descriptor with bus type 1 and no texts, and
// nothing else; the volume C: tells its disk and partition number.
void CheckDiskContract(DeviceIo& io) {
    HDevice disk = 0;
    std::uint32_t error = 0;
    ASSERT_TRUE(io.Open(L"\\\\.\\PhysicalDrive0", 0, DeviceIo::kShareRead | DeviceIo::kShareWrite,
                        DeviceIo::kOpenExisting, 0, disk, error));
    Bytes query(storage::kPropertyQuerySize, 0);
    Bytes header(storage::kDescriptorHeaderSize, 0);
    std::uint32_t returned = 0;
    ASSERT_TRUE(io.Control(disk, storage::kQueryProperty, query.data(), 12, header.data(), 8,
                           returned, error))
        << "the header alone fits in a buffer too short for the descriptor";
    EXPECT_EQ(returned, 8u);
    EXPECT_EQ(Uint32At(header, storage::kDescriptorSizeOffset), storage::kDeviceDescriptorSize);
    Bytes descriptor(64, 0);
    ASSERT_TRUE(io.Control(disk, storage::kQueryProperty, query.data(), 12, descriptor.data(), 64,
                           returned, error));
    EXPECT_EQ(returned, storage::kDeviceDescriptorSize);
    EXPECT_EQ(descriptor[storage::kDeviceBusTypeOffset], storage::kBusTypeScsi);
    EXPECT_EQ(Uint32At(descriptor, storage::kDeviceVendorIdOffset), 0u);
    EXPECT_EQ(Uint32At(descriptor, storage::kDeviceProductIdOffset), 0u);

    query[0] = static_cast<std::uint8_t>(storage::kStorageAdapterProperty);
    EXPECT_FALSE(io.Control(disk, storage::kQueryProperty, query.data(), 12, descriptor.data(), 64,
                            returned, error));
    EXPECT_EQ(error, test::kErrorNotSupported);
    Bytes media(storage::kMediaTypesBufferSize, 0);
    EXPECT_FALSE(io.Control(disk, storage::kGetMediaTypesEx, nullptr, 0, media.data(),
                            static_cast<std::uint32_t>(media.size()), returned, error));
    EXPECT_EQ(error, test::kErrorNotSupported);
    Bytes command(storage::kCommandInSize, 0);
    Bytes result(storage::kCommandOutSize, 0);
    EXPECT_FALSE(io.Control(disk, storage::kSmartRcvDriveData, command.data(), 32, result.data(),
                            528, returned, error));
    EXPECT_EQ(error, DeviceIo::kErrorAccessDenied);
    io.Close(disk);

    HDevice volume = 0;
    ASSERT_TRUE(io.Open(L"\\\\.\\C:", 0, DeviceIo::kShareRead | DeviceIo::kShareWrite,
                        DeviceIo::kOpenExisting, 0, volume, error));
    Bytes number(storage::kDeviceNumberSize, 0xFF);
    ASSERT_TRUE(io.Control(volume, storage::kGetDeviceNumber, nullptr, 0, number.data(), 12,
                           returned, error));
    EXPECT_EQ(returned, 12u);
    EXPECT_EQ(Uint32At(number, 0), storage::kFileDeviceDisk);
    EXPECT_EQ(Uint32At(number, storage::kDeviceNumberOffset), 0u);
    EXPECT_EQ(Uint32At(number, 8), 1u) << "the first partition";
    io.Close(volume);

    HDevice missing = 99;
    EXPECT_FALSE(
        io.Open(L"\\\\.\\PhysicalDrive1", 0, 3, DeviceIo::kOpenExisting, 0, missing, error));
    EXPECT_EQ(missing, 0u);
    EXPECT_EQ(error, DeviceIo::kErrorFileNotFound);
}

// The fakes staged as the detector tests stage theirs: the two volumes, the disk with its bus
// type alone, and the volume C: on disk 0.
TEST(Win32Storage, FakeAnswersAsWineDoes) {
    FakeSystemInfo info;
    const DiskSpace space{40, 100, 60};
    info.drives = {{L"C:\\", SystemInfo::kDriveFixed, true, space},
                   {L"Z:\\", SystemInfo::kDriveFixed, true, space}};
    CheckVolumeContract(info);

    FakeDeviceIo io;
    test::AddDisk(
        io, L"\\\\.\\PhysicalDrive0",
        {{}, 0, test::DeviceDescriptor(storage::kBusTypeScsi, nullptr, nullptr, nullptr), {}});
    io.AddDevice(L"\\\\.\\C:");
    io.SetReply(L"\\\\.\\C:", storage::kGetDeviceNumber,
                test::Answer({7, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}));
    CheckDiskContract(io);
}

#ifdef _WIN32
TEST(Win32Storage, Win32MatchesTheContract) {
    Win32SystemInfo info;
    CheckVolumeContract(info);
    Win32DeviceIo io;
    CheckDiskContract(io);
}
#endif

}  // namespace
}  // namespace rigel::os
