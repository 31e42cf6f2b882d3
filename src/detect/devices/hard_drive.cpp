#include "detect/devices/hard_drive.h"

#include <cstdint>
#include <string>

#include "core/group_id.h"
#include "detect/devices/physical_drive.h"
#include "detect/devices/setup_lib.h"
#include "detect/platform/wmi.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/storage_control.h"
#include "values/count.h"
#include "values/exists.h"
#include "values/name.h"

namespace rigel {
namespace {

namespace storage = os::storage;

constexpr std::uint32_t kFirmware = 71432;
constexpr std::uint32_t kModel = 71431;
constexpr std::uint32_t kVendor = 71443;
constexpr std::uint32_t kDriveNumber = 71430;
constexpr std::uint32_t kIntel = 71434;
constexpr std::uint32_t kDiskDevice = 71433;
constexpr std::uint32_t kSsd = 71444;
constexpr std::uint32_t kBusName = 71438;
constexpr std::uint32_t kSata = 71439;
constexpr std::uint32_t kAta = 71440;
constexpr std::uint32_t kScsi = 71441;
constexpr std::uint32_t kUsb = 71442;
constexpr std::uint32_t kRaid = 71445;

const wchar_t* BusTypeText(std::uint8_t busType) {
    switch (busType) {
        case storage::kBusTypeScsi:
        case storage::kBusTypeIScsi:
            return L"SCSI";
        case storage::kBusTypeAta:
            return L"ATA";
        case storage::kBusTypeUsb:
            return L"USB";
        case storage::kBusTypeRaid:
            return L"RAID";
        case storage::kBusTypeSata:
            return L"SATA";
        default:
            return L"";
    }
}

// The disk's own firmware text unless it is shorter than the Setup API's.
std::wstring ChosenFirmware(const std::wstring& disk, const std::wstring& setup) {
    return disk.size() >= setup.size() ? disk : setup;
}

void LogList(const wchar_t* source, const std::vector<HardDriveInfo>& disks,
             const wchar_t* secondLabel, Name HardDriveInfo::*second) {
    Log& log = Log::Instance();
    for (HardDriveInfo disk : disks) {
        log.Line(Log::kTrace, source, L" - model: ", disk.model.ToString());
        log.Line(Log::kTrace, source, secondLabel, (disk.*second).ToString());
    }
}

}  // namespace

HardDrive::HardDrive() : Detector(L"rigel::HardDrive::Detect", L"Error in HardDrive detection.") {}

void HardDrive::Initialize() { ScopeTrace trace(L"rigel::HardDrive::Initialize"); }

void HardDrive::Run() {
    std::vector<HardDriveInfo> setupDisks;
    SetupLib::Instance().GetHardDriveInfo(setupDisks);
    LogList(L"From Setuplib", setupDisks, L" - firmware: ", &HardDriveInfo::firmware);
    std::vector<HardDriveInfo> wmiDisks;
    WMI::Instance().GetDiskDriveValues(wmiDisks);
    LogList(L"From wmi", wmiDisks, L" - deviceID: ", &HardDriveInfo::deviceName);
    JoinByModel(setupDisks, wmiDisks);
    std::uint32_t index = 0;
    for (HardDriveInfo& disk : setupDisks) {
        PhysicalDriveInfo drive;
        if (PhysicalDrive::GetPhysicalDeviceInfo(disk.deviceName.ToString(), disk.index, drive)) {
            StoreDisk(drive, disk.firmware.ToString(), index++);
        }
    }
}

void HardDrive::JoinByModel(std::vector<HardDriveInfo>& setupDisks,
                            const std::vector<HardDriveInfo>& wmiDisks) {
    for (HardDriveInfo& disk : setupDisks) {
        for (const HardDriveInfo& row : wmiDisks) {
            if (disk.model == row.model) {
                disk.deviceName = row.deviceName;
                disk.index = row.index;
            }
        }
    }
}

void HardDrive::StoreDisk(const PhysicalDriveInfo& drive, const std::wstring& setupFirmware,
                          std::uint32_t index) {
    const auto storeName = [index](std::uint32_t group, const std::wstring& text) {
        Name name(text);
        AddValue(GroupID(group), name, index);
    };
    const auto storeFlag = [index](std::uint32_t group, bool flag) {
        Exists exists(flag);
        AddValue(GroupID(group), exists, index);
    };
    storeName(kFirmware, ChosenFirmware(drive.firmware, setupFirmware));
    storeName(kModel, drive.model);
    storeName(kVendor, drive.vendor);
    Count driveNumber(drive.driveNumber);
    AddValue(GroupID(kDriveNumber), driveNumber, index);
    storeFlag(kIntel, drive.isIntel);
    storeFlag(kDiskDevice, drive.isDiskDevice);
    storeFlag(kSsd, drive.isSsd);
    const std::uint8_t bus = drive.busType;
    storeName(kBusName, BusTypeText(bus));
    storeFlag(kSata, bus == storage::kBusTypeSata);
    storeFlag(kAta, bus == storage::kBusTypeAta);
    storeFlag(kScsi, bus == storage::kBusTypeScsi || bus == storage::kBusTypeIScsi);
    storeFlag(kUsb, bus == storage::kBusTypeUsb);
    storeFlag(kRaid, bus == storage::kBusTypeRaid);
    Log& log = Log::Instance();
    log.Line(Log::kTrace, L"Drive firmware: ", drive.firmware);
    log.Line(Log::kTrace, L"Drive firmware or: ", setupFirmware);
}

}  // namespace rigel
