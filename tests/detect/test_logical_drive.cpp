#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "detect/devices/logical_drive.h"
#include "detect/stored_values.h"
#include "diag/log.h"
#include "support/fake_disks.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using os::FakeSystemInfo;
using test::Stored;

constexpr std::uint64_t kGiB = 1024ull * 1024 * 1024;

FakeSystemInfo::Drive Fixed(const std::wstring& root, std::uint64_t freeBytes,
                            std::uint64_t totalBytes) {
    FakeSystemInfo::Drive drive;
    drive.root = root;
    // The free space left to the caller differs from the volume's: only the latter counts.
    drive.space = os::DiskSpace{freeBytes / 2, totalBytes, freeBytes};
    return drive;
}

// The volume answers the device-number query with this disk.
void StageDiskNumber(os::FakeDeviceIo& io, const std::wstring& volume, std::uint32_t disk) {
    test::Bytes reply(12, 0);
    test::PutUint32(reply, 0, 7);
    test::PutUint32(reply, 4, disk);
    test::PutUint32(reply, 8, 1);
    io.AddDevice(volume);
    io.SetReply(volume, os::storage::kGetDeviceNumber, test::Answer(reply));
}

TEST(LogicalDriveTest, VolumesLargestFreeFirstWithTotals) {
    test::FakeMachine machine;
    FakeSystemInfo::Drive cdrom = Fixed(L"E:\\", 0, 700 * 1024 * 1024);
    cdrom.type = 5;  // DRIVE_CDROM
    FakeSystemInfo::Drive unreadable = Fixed(L"F:\\", kGiB, 2 * kGiB);
    unreadable.spaceSucceeds = false;
    machine.systemInfo.drives = {Fixed(L"C:\\", 10 * kGiB, 100 * kGiB), cdrom,
                                 Fixed(L"D:\\", 200 * kGiB, 500 * kGiB), unreadable};
    StageDiskNumber(machine.deviceIo, L"\\\\.\\C:", 0);
    StageDiskNumber(machine.deviceIo, L"\\\\.\\D:", 1);

    LogicalDrive drive;
    EXPECT_TRUE(drive.Detect());
    EXPECT_EQ(Stored(), (std::vector<std::wstring>{
                            L"71436#0=200.0 GB", L"71076#0=200.0 GB", L"71075#0=500.0 GB",
                            L"71379#0=300.0 GB", L"71387#0=D:\\", L"71435#0=1", L"71076#1=10.0 GB",
                            L"71075#1=100.0 GB", L"71379#1=90.0 GB", L"71387#1=C:\\", L"71435#1=0",
                            L"71380#0=600.0 GB"}));
    ASSERT_EQ(machine.deviceIo.opens.size(), 2u);
    EXPECT_EQ(machine.deviceIo.opens[0].path, L"\\\\.\\C:");
    EXPECT_EQ(machine.deviceIo.opens[0].share, 3u);
    EXPECT_EQ(machine.deviceIo.OpenCount(), 0u) << "volume handles are closed";
}

TEST(LogicalDriveTest, NoFixedDriveStoresOnlyTheZeroTotal) {
    for (bool listFails : {false, true}) {
        test::FakeMachine machine;
        machine.systemInfo.driveStringsSucceed = !listFails;
        if (!listFails) {
            FakeSystemInfo::Drive removable = Fixed(L"A:\\", kGiB, kGiB);
            removable.type = 2;  // DRIVE_REMOVABLE
            machine.systemInfo.drives = {removable};
        }
        LogicalDrive drive;
        drive.Detect();
        EXPECT_EQ(Stored(), (std::vector<std::wstring>{L"71380#0=0.0 B"})) << listFails;
    }
}

TEST(LogicalDriveTest, DiskNumberIsZeroWhenTheVolumeDoesNotAnswer) {
    test::FakeMachine machine;
    machine.systemInfo.drives = {Fixed(L"C:\\", kGiB, 2 * kGiB), Fixed(L"D:\\", 3 * kGiB, 4 * kGiB),
                                 Fixed(L"E:\\", 5 * kGiB, 6 * kGiB)};
    machine.deviceIo.AddDevice(L"\\\\.\\D:");  // opens, but no device-number reply
    machine.deviceIo.AddDevice(L"\\\\.\\E:");
    machine.deviceIo.SetReply(L"\\\\.\\E:", os::storage::kGetDeviceNumber,
                              test::Answer({7, 0, 0, 0, 4}));

    std::vector<LogicalDriveInfo> drives;
    std::uint64_t total = 1;
    LogicalDrive::GetDriveInformation(drives, total);
    ASSERT_EQ(drives.size(), 3u);
    EXPECT_EQ(total, 12 * kGiB);
    for (const LogicalDriveInfo& info : drives) EXPECT_EQ(info.diskNumber, 0u) << info.root;
    EXPECT_EQ(std::wstring(drives[1].root), L"D:\\");
    EXPECT_EQ(drives[1].usedBytes, kGiB);
}

TEST(LogicalDriveTest, DriveListThatDoesNotFitIsIgnoredAndLongRootsAreCut) {
    test::FakeMachine machine;
    // 100 roots of 4 characters with their terminators: 401 with the final one, over 400.
    for (int i = 0; i < 100; ++i) machine.systemInfo.drives.push_back(Fixed(L"X:\\", 1, 2));
    std::vector<LogicalDriveInfo> drives;
    std::uint64_t total = 0;
    LogicalDrive::GetDriveInformation(drives, total);
    EXPECT_TRUE(drives.empty());

    machine.systemInfo.drives = {Fixed(L"C:\\" + std::wstring(300, L'm'), 1, 2)};
    LogicalDrive::GetDriveInformation(drives, total);
    ASSERT_EQ(drives.size(), 1u);
    EXPECT_EQ(std::wstring(drives[0].root).size(), 255u);
}

}  // namespace
}  // namespace rigel
