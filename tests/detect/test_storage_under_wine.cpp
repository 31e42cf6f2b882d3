// The disk and volume readers over the real services, against what Wine's machine has: a first
// disk that answers only its device descriptor, and the fixed volumes C:\ and Z:\.
#ifdef _WIN32
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "detect/devices/logical_drive.h"
#include "detect/devices/physical_drive.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

TEST(StorageUnderWine, FirstDiskAnswersOnlyItsBusType) {
    test::FreshProcessState();
    PhysicalDriveInfo info;
    info.vendor = L"kept";  // the query clears model and firmware, not the vendor
    ASSERT_TRUE(PhysicalDrive::GetPhysicalDeviceInfo(L"\\\\.\\PhysicalDrive0", 0, info));
    EXPECT_EQ(info.busType, 1) << "SCSI";
    EXPECT_EQ(info.model, L"");
    EXPECT_EQ(info.firmware, L"");
    EXPECT_EQ(info.vendor, L"kept") << "no vendor text replaces it";
    EXPECT_FALSE(info.isDiskDevice);
    EXPECT_FALSE(info.isSsd);
    EXPECT_FALSE(info.isIntel);
    EXPECT_EQ(info.driveNumber, 0u);

    PhysicalDriveInfo missing;
    EXPECT_FALSE(PhysicalDrive::GetPhysicalDeviceInfo(L"\\\\.\\PhysicalDrive1", 1, missing));
    EXPECT_FALSE(PhysicalDrive::GetPhysicalDeviceInfo(L"", 0, missing));
}

TEST(StorageUnderWine, VolumesCAndZWithTheirTotal) {
    test::FreshProcessState();
    std::vector<LogicalDriveInfo> drives;
    std::uint64_t total = 0;
    LogicalDrive::GetDriveInformation(drives, total);
    ASSERT_EQ(drives.size(), 2u);
    EXPECT_EQ(std::wstring(drives[0].root), L"C:\\");
    EXPECT_EQ(std::wstring(drives[1].root), L"Z:\\");
    EXPECT_EQ(total, drives[0].totalBytes + drives[1].totalBytes);
    for (const LogicalDriveInfo& drive : drives) {
        EXPECT_GT(drive.totalBytes, 0u);
        EXPECT_EQ(drive.usedBytes, drive.totalBytes - drive.freeBytes);
        // C: is on disk 0; Z: cannot be opened as a volume, which leaves 0 too.
        EXPECT_EQ(drive.diskNumber, 0u);
    }
}

}  // namespace
}  // namespace rigel
#endif
