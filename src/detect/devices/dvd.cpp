#include "detect/devices/dvd.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "core/system.h"
#include "detect/devices/setup_lib.h"
#include "detect/platform/wmi.h"
#include "os/device_io.h"
#include "os/services.h"
#include "values/ascii_case.h"

namespace rigel {
namespace {

constexpr std::uint32_t kDvdName = 71068;
constexpr std::uint32_t kDvdDrive = 71298;

constexpr std::uint32_t kGetMediaTypesEx = 0x2D0C04;  // IOCTL_STORAGE_GET_MEDIA_TYPES_EX
constexpr std::uint32_t kMediaTypesBytes = 500;
constexpr std::uint32_t kDeviceTypeDvd = 0x33;  // FILE_DEVICE_DVD

void FillEmpty(std::wstring& field, const std::wstring& from) {
    if (field.empty()) field = from;
}

// The device type that opens GET_MEDIA_TYPES, when the drive's device answers with one.
bool ReportsDvdDeviceType(const std::wstring& drive) {
    os::DeviceIo& io = *os::Current().deviceIo;
    os::HDevice device = 0;
    std::uint32_t error = 0;
    if (!io.Open(L"\\\\.\\" + drive, 0, os::DeviceIo::kShareRead | os::DeviceIo::kShareWrite,
                 os::DeviceIo::kOpenExisting, 0, device, error)) {
        return false;
    }
    std::vector<std::uint8_t> reply(kMediaTypesBytes, 0);
    std::uint32_t returned = 0;
    const bool answered = io.Control(device, kGetMediaTypesEx, nullptr, 0, reply.data(),
                                     kMediaTypesBytes, returned, error);
    io.Close(device);
    std::uint32_t deviceType = 0;
    if (!answered || returned < sizeof deviceType || returned > kMediaTypesBytes) return false;
    std::memcpy(&deviceType, reply.data(), sizeof deviceType);
    return deviceType == kDeviceTypeDvd;
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
