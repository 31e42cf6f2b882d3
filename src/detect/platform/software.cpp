#include "detect/platform/software.h"

#include <cstdint>
#include <iomanip>
#include <sstream>

#include "core/group_id.h"
#include "core/system.h"
#include "detect/platform/installed_products.h"
#include "detect/platform/intel_widi_lib.h"
#include "detect/platform/registry.h"
#include "values/exists.h"
#include "values/name.h"
#include "values/version.h"

namespace rigel {
namespace {

constexpr std::uint32_t kTextBufferBytes = 2000;
constexpr std::uint32_t kKeyRead64 = os::Registry::kKeyRead | os::Registry::kWow64_64Key;
constexpr int kAdapterClassKeys = 100;

const wchar_t* const kAdapterClassKey =
    L"system\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002BE10318}\\";
const wchar_t* const kVirtualAdapter = L"Intel(R) Advanced Network Services Virtual Adapter";
const wchar_t* const kWiDiUpgradeCode = L"{EAB78CB1-2951-4462-83D4-5F72F56E7312}";

// Product codes of the wireless display releases, newest first, up to the empty entry. The 19th
// and the 24th are the same release.
const wchar_t* const kWiDiProducts[] = {
    L"{302600C1-6BDF-4fd1-1311-148929CC1385}",
    L"{302600C1-6BDF-4fd1-1309-148929CC1385}",
    L"{444400C1-6BDF-4fd1-1306-148929CC1385}",
    L"{302600C1-6BDF-4fd1-1305-148929CC1385}",
    L"{302600C1-6BDF-4fd1-1304-148929CC1385}",
    L"{302600C1-6BDF-4fd1-1303-148929CC1385}",
    L"{302600C1-6BDF-4fd1-1302-148929CC1385}",
    L"{DA2600C1-6BDF-4fd1-1212-148929CC1385}",
    L"{DA2600C1-6BDF-4fd1-1211-148929CC1385}",
    L"{DA2600C1-6BDF-4fd1-8F3D-148929CC1385}",
    L"{0728A184-F899-4356-B93D-8228674F0DEB}",
    L"{7854AA22-A2F0-4F29-A2E9-D0C5A2B685E7}",
    L"{A10B1524-63B5-40F2-B272-D841CF671C16}",
    L"{3015F546-6C3E-4E6A-B564-BCDF88C0BA2A}",
    L"{520C4DD4-2BC7-409B-BA48-E1A4F832662D}",
    L"{F0932859-AA60-459E-B843-0BDECA34E2C7}",
    L"{077BF055-512A-4D48-B3C2-44AD860FEB0A}",
    L"{2ABA2E8D-23CF-418F-BC8F-2EC99FA51A3F}",
    L"{7CE8BE79-ABC3-4B2C-9543-28ED2B0A9EA8}",
    L"{0EF86E06-C755-4C6F-8E47-2528D0546C0A}",
    L"{006B5C65-3938-4246-B182-994A7E415EDE}",
    L"{C7B40C35-85AE-4303-9EEA-1A1EA779664D}",
    L"{5A80B0BA-79AF-4b11-B851-CCB9F7977AC0}",
    L"{7CE8BE79-ABC3-4B2C-9543-28ED2B0A9EA8}",
    L"",
};

bool ReadText(const os::UniqueKey& key, const wchar_t* name, std::wstring& text) {
    return key && Registry::Instance().ReadText(key.get(), name, kTextBufferBytes, text) ==
                      Registry::StringRead::kText;
}

std::wstring AdapterClassKey(int index) {
    std::wostringstream path;
    path << kAdapterClassKey << std::setfill(L'0') << std::setw(4) << index;
    return path.str();
}

}  // namespace

Software::Software() : Detector(L"rigel::Software::Detect", L"Error in Software detection.") {}

void Software::Run() {
    StoreOwnVersion();
    StoreNetworkServicesVersion();
    StoreWirelessVersion();
    StoreVirtualAdapterDriverVersion();
    StoreWiDiLibraryFacts();
    StoreWiDiInstallation();
}

void Software::StoreOwnVersion() {
    Version version(System::GetVersion());
    AddValue(GroupID(71351), version);
}

void Software::StoreNetworkServicesVersion() {
    const os::UniqueKey key = Registry::Instance().OpenFirstKey({
        {L"Software\\Intel\\Network_Services\\DMIX", os::Registry::kKeyRead},
        {L"Software\\Intel\\Network_Services\\DMIX", kKeyRead64},
    });
    std::wstring text;
    if (!ReadText(key, L"OEMVersion", text)) return;
    Name version(text);
    AddValue(GroupID(71377), version);
}

void Software::StoreWirelessVersion() {
    const wchar_t* const common = L"Software\\Intel\\WirelessCommon\\AppFramework\\Settings";
    const wchar_t* const wireless = L"Software\\Intel\\Wireless\\AppFramework\\Settings";
    const os::UniqueKey key = Registry::Instance().OpenFirstKey({
        {common, os::Registry::kKeyRead},
        {wireless, os::Registry::kKeyRead},
        {common, kKeyRead64},
        {wireless, kKeyRead64},
    });
    std::wstring text;
    if (!ReadText(key, L"PROSetVersion", text)) return;
    Name version(text);
    AddValue(GroupID(71369), version);
}

// The adapter class keys are numbered without gaps, so the first missing one ends the list.
void Software::StoreVirtualAdapterDriverVersion() {
    for (int index = 0; index < kAdapterClassKeys; ++index) {
        const os::UniqueKey key = Registry::Instance().OpenKey(
            os::Registry::kLocalMachine, AdapterClassKey(index), os::Registry::kKeyRead);
        if (!key) return;
        std::wstring description;
        if (!ReadText(key, L"DriverDesc", description) || description != kVirtualAdapter) continue;
        std::wstring text;
        if (ReadText(key, L"DriverVersion", text)) {
            Name version(text);
            AddValue(GroupID(71370), version);
        }
        return;
    }
}

void Software::StoreWiDiLibraryFacts() {
    IntelWiDiLib& library = IntelWiDiLib::Instance();
    struct VersionQuery {
        bool (IntelWiDiLib::*get)(std::wstring&);
        std::uint32_t version;
        std::uint32_t found;
    };
    constexpr VersionQuery kVersions[] = {
        {&IntelWiDiLib::GetWidgitVersion, 71488, 71489},
        {&IntelWiDiLib::GetWiDiVersion, 71486, 71487},
    };
    for (const VersionQuery& query : kVersions) {
        std::wstring text;
        Exists found((library.*query.get)(text));
        if (found.Get()) {
            Version version(text);
            AddValue(GroupID(query.version), version);
        }
        AddValue(GroupID(query.found), found);
    }

    struct FlagQuery {
        bool (IntelWiDiLib::*get)(bool&);
        std::uint32_t flag;
    };
    constexpr FlagQuery kFlags[] = {
        {&IntelWiDiLib::GetProduct, 71490},
        {&IntelWiDiLib::GetPlatform, 71491},
    };
    for (const FlagQuery& query : kFlags) {
        bool flag = false;
        if (!(library.*query.get)(flag)) continue;
        Exists reported(flag);
        AddValue(GroupID(query.flag), reported);
    }
}

void Software::StoreWiDiInstallation() {
    std::wstring text;
    Exists found(FindWiDiInstallation(text));
    AddValue(GroupID(71499), found);
    if (!found.Get()) return;
    Version version(text);
    AddValue(GroupID(71500), version);
}

bool Software::FindWiDiInstallation(std::wstring& version) {
    if (InstalledProducts::RelatedProductVersion(kWiDiUpgradeCode, version)) return true;
    for (const wchar_t* const* code = kWiDiProducts; **code != L'\0'; ++code) {
        if (InstalledProducts::ProductVersion(*code, version)) return true;
    }
    return false;
}

}  // namespace rigel
