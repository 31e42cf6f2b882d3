#include "detect/devices/dvd.h"

#include <cstdint>
#include <string>
#include <vector>

#include "core/system.h"
#include "detect/devices/setup_lib.h"
#include "detect/devices/storage_device.h"
#include "detect/devices/storage_replies.h"
#include "detect/platform/wmi.h"
#include "os/storage_control.h"
#include "values/ascii_case.h"

namespace rigel {
namespace {

constexpr std::uint32_t kDvdName = 71068;
constexpr std::uint32_t kDvdDrive = 71298;

constexpr std::size_t kMediaTypesBytes = 500;

void FillEmpty(std::wstring& field, const std::wstring& from) {
    if (field.empty()) field = from;
}

// The device type that opens GET_MEDIA_TYPES, when the drive's device answers with one.
bool ReportsDvdDeviceType(const std::wstring& drive) {
    StorageDevice device;
    std::uint32_t error = 0;
    StorageReplies::Bytes reply(kMediaTypesBytes, 0);
    return device.Open(L"\\\\.\\" + drive, error) &&
           device.Query(os::storage::kGetMediaTypesEx, reply, error) &&
           StorageReplies::NamesDeviceType(reply, os::storage::kFileDeviceDvd);
}

bool NamesDvd(const std::wstring& text) {
    const std::wstring lower = AsciiLowerCase(text);
    return lower.find(L"dvd") != std::wstring::npos || lower.find(L"comb") != std::wstring::npos;
}

}  // namespace

DVD::DVD() : Detector(L"rigel::DVD::Detect", L"Error in DVD detection.") {}

bool DVD::IsDvdDrive(const CDRomInfo& drive) {
    if (!drive.drive.empty() && ReportsDvdDeviceType(drive.drive)) return true;
    Name name = drive.name;
    return NamesDvd(drive.deviceId) || NamesDvd(name.ToString()) || NamesDvd(drive.mediaType);
}

void DVD::Run() {
    std::vector<CDRomInfo> drives;
    SetupLib::Instance().GetCDRomInfo(drives);
    std::vector<CDRomInfo> rows;
    WMI::Instance().GetCDRomValues(rows);

    for (CDRomInfo& drive : drives) {
        for (const CDRomInfo& row : rows) {
            // Equal names: the name itself has nothing to fill.
            if (!(drive.name == row.name)) continue;
            FillEmpty(drive.mediaType, row.mediaType);
            FillEmpty(drive.deviceId, row.deviceId);
            FillEmpty(drive.drive, row.drive);
        }
    }

    SystemValues& values = System::Instance().GetSystemValues();
    std::uint32_t index = 0;
    for (CDRomInfo& drive : drives) {
        if (!IsDvdDrive(drive)) continue;
        values.AddValue(kDvdName, index, drive.name);
        values.AddValue(kDvdDrive, index, drive.drive);
        ++index;
    }
}

}  // namespace rigel
