#include "detect/platform/sound.h"

#include <cstdint>
#include <string>
#include <vector>

#include "core/group_id.h"
#include "detect/devices/setup_lib.h"
#include "detect/devices/sound_info.h"
#include "detect/platform/registry.h"
#include "detect/platform/wmi.h"
#include "diag/scope_trace.h"
#include "os/registry.h"
#include "values/ascii_case.h"
#include "values/exists.h"
#include "values/name.h"

namespace rigel {
namespace {

constexpr std::uint32_t kDeviceName = 71066;
constexpr std::uint32_t kDriverVersion = 71071;
constexpr std::uint32_t kVendor1102 = 71325;
constexpr std::uint32_t kPackageVersions[] = {71371, 71372, 71373, 71374};

constexpr std::uint32_t kPackageBufferBytes = 2000;
constexpr std::uint32_t kRead = os::Registry::kKeyRead;
constexpr std::uint32_t kRead64 = os::Registry::kKeyRead | os::Registry::kWow64_64Key;

// Where one package keeps its version: a key, and a second one tried when the first gives none.
struct PackageKey {
    std::size_t field;  // P1 to P4 as 0 to 3
    const wchar_t* firstKey;
    std::uint32_t firstAccess;
    const wchar_t* secondKey;
    std::uint32_t secondAccess;
    const wchar_t* valueName;
};

const PackageKey kPackages[] = {
    {2,
     L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\"
     L"{F132AF7F-7BCA-4EDE-8A7C-958108FE7DBC}",
     kRead,
     L"Software\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\"
     L"{F132AF7F-7BCA-4EDE-8A7C-958108FE7DBC}",
     kRead, L"DisplayVersion"},
    {1, L"Software\\IDT\\Audio", kRead, L"Software\\IDT\\Audio", kRead64, L"Version"},
    {0, L"Software\\Analog Devices\\SoundMAX", kRead,
     L"Software\\Wow6432Node\\Analog Devices\\SoundMAX", kRead, L"Version"},
    {3, L"Software\\SigmaTel\\Audio", kRead, L"Software\\Wow6432Node\\SigmaTel\\Audio", kRead,
     L"Version"},
};

void ReadPackageValue(const wchar_t* key, std::uint32_t access, const wchar_t* valueName,
                      std::wstring& field) {
    Registry& registry = Registry::Instance();
    const os::UniqueKey opened = registry.OpenKey(os::Registry::kLocalMachine, key, access);
    if (opened) registry.ReadText(opened.get(), valueName, kPackageBufferBytes, field);
}

SoundInfo ReadPackageVersions() {
    SoundInfo packages;
    for (const PackageKey& package : kPackages) {
        std::wstring& field = packages.extraTexts[package.field];
        ReadPackageValue(package.firstKey, package.firstAccess, package.valueName, field);
        if (field.empty()) {
            ReadPackageValue(package.secondKey, package.secondAccess, package.valueName, field);
        }
    }
    return packages;
}

void FillEmpty(std::wstring& field, const std::wstring& from) {
    if (field.empty()) field = from;
}

// Completes each device from the WMI rows with its exact hardware identifier; the driver version
// stays the Setup API's.
void MergeWmiRows(std::vector<SoundInfo>& devices, const std::vector<SoundInfo>& rows) {
    for (SoundInfo& device : devices) {
        for (const SoundInfo& row : rows) {
            if (row.hardwareId != device.hardwareId) continue;
            FillEmpty(device.name, row.name);
            for (std::size_t i = 0; i < device.extraTexts.size(); ++i) {
                FillEmpty(device.extraTexts[i], row.extraTexts[i]);
            }
        }
    }
}

}  // namespace

bool Sound::Detect() {
    ScopeTrace trace(L"rigel::Sound::Detect");
    const SoundInfo packages = ReadPackageVersions();
    std::vector<SoundInfo> rows;
    WMI::Instance().GetSoundValues(rows);
    std::vector<SoundInfo> devices;
    SetupLib::Instance().GetSoundInfo(devices);
    MergeWmiRows(devices, rows);

    for (std::uint32_t i = 0; i < devices.size(); ++i) {
        Name name(devices[i].name);
        Name driverVersion(devices[i].driverVersion);
        Exists creative(AsciiLowerCase(devices[i].hardwareId).find(L"ven_1102") !=
                        std::wstring::npos);
        AddValue(GroupID(kDeviceName), name, i);
        AddValue(GroupID(kDriverVersion), driverVersion, i);
        AddValue(GroupID(kVendor1102), creative, i);
    }
    for (std::size_t p = 0; p < packages.extraTexts.size(); ++p) {
        Name version(packages.extraTexts[p]);
        AddValue(GroupID(kPackageVersions[p]), version);
    }
    return true;
}

}  // namespace rigel
