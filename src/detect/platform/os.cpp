#include "detect/platform/os.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "core/system.h"
#include "detect/platform/registry.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/services.h"
#include "os/system_info.h"
#include "values/exists.h"
#include "values/name.h"
#include "values/version.h"

namespace rigel {
namespace {

using os::SystemInfo;

// Flags.
constexpr std::uint32_t kWindows2000 = 71262;
constexpr std::uint32_t kServer2003 = 71263;
constexpr std::uint32_t kSixtyFourBit = 71264;
constexpr std::uint32_t kVista = 71251;
constexpr std::uint32_t kVistaBusiness = 71271;
constexpr std::uint32_t kVistaEnterprise = 71272;
constexpr std::uint32_t kVistaHomeBasic = 71273;
constexpr std::uint32_t kVistaHomePremium = 71274;
constexpr std::uint32_t kVistaUltimate = 71275;
constexpr std::uint32_t kWindowsXp = 71276;
constexpr std::uint32_t kWindows7 = 71350;
constexpr std::uint32_t kIa64 = 71360;
constexpr std::uint32_t kAmd64 = 71361;
constexpr std::uint32_t kServer2008 = 71465;
constexpr std::uint32_t kServer2008R2 = 71466;
constexpr std::uint32_t kWindows8 = 71484;
constexpr std::uint32_t kServer2012 = 71485;
constexpr std::uint32_t kHomeServer = 71492;
constexpr std::uint32_t kWindows81 = 71502;

// Every flag, in the order in which all are first stored false.
constexpr std::array<std::uint32_t, 24> kFlags = {
    71262, 71263, 71264, 71361, 71360, 71265, 71266, 71310, 71267, 71270, 71251, 71271,
    71272, 71273, 71274, 71275, 71276, 71350, 71465, 71466, 71484, 71502, 71485, 71492};

constexpr std::uint8_t kWorkstation = 1;  // VER_NT_WORKSTATION

// Suite mask bits.
constexpr std::uint16_t kSuiteEnterprise = 0x0002;
constexpr std::uint16_t kSuiteDatacenter = 0x0080;
constexpr std::uint16_t kSuitePersonal = 0x0200;
constexpr std::uint16_t kSuiteBlade = 0x0400;
constexpr std::uint16_t kSuiteStorageServer = 0x2000;
constexpr std::uint16_t kSuiteComputeServer = 0x4000;
constexpr std::uint16_t kSuiteHomeServer = 0x8000;

// The name buffer holds 256 characters with its terminator.
constexpr std::size_t kNameCapacity = 255;
constexpr std::uint32_t kRegistryTextBytes = 200;
constexpr std::uint32_t kSubkeyNameCapacity = 100;

struct Edition {
    std::uint32_t productType;
    const wchar_t* text;
    std::uint32_t vistaFlag;  // 0 for none
};

constexpr Edition kEditions[] = {
    {1, L"Ultimate Edition", kVistaUltimate},
    {2, L"Home Basic Edition", kVistaHomeBasic},
    {3, L"Home Premium Edition", kVistaHomePremium},
    {4, L"Enterprise Edition", kVistaEnterprise},
    {6, L"Business Edition", kVistaBusiness},
    {7, L"Standard Edition", 0},
    {8, L"Datacenter Edition", 0},
    {9, L"Small Business Server", 0},
    {10, L"Enterprise Edition", 0},
    {11, L"Starter Edition", 0},
    {12, L"Datacenter Edition (core installation)", 0},
    {13, L"Standard Edition (core installation)", 0},
    {14, L"Enterprise Edition (core installation)", 0},
    {15, L"Enterprise Edition for Itanium-based Systems", 0},
    {17, L"Web Server Edition", 0},
    {18, L"Cluster Server Edition", 0},
    {25, L"Small Business Server Premium Edition", 0},
};

SystemInfo& Service() { return *os::Current().systemInfo; }

void Store(std::uint32_t id, Value& value) {
    System::Instance().GetSystemValues().AddValue(id, value);
}

void StoreFlag(std::uint32_t id, bool flag) {
    Exists exists(flag);
    Store(id, exists);
}

void StoreVersion(std::uint32_t id, std::uint64_t number) {
    Version version(number);
    Store(id, version);
}

void StoreName(std::uint32_t id, const std::wstring& text) {
    Name name(text);
    Store(id, name);
}

// A display name that never grows past its buffer.
class DisplayName {
  public:
    void Append(const std::wstring& part) {
        text_.append(part, 0, std::min(part.size(), kNameCapacity - text_.size()));
    }
    const std::wstring& Text() const { return text_; }

  private:
    std::wstring text_;
};

// Windows 8.1 reports itself to older programs as 6.2; its registry tells the truth.
bool RegistrySaysWindows81() {
    Registry& registry = Registry::Instance();
    const os::UniqueKey key = registry.OpenKey(os::Registry::kLocalMachine,
                                               L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion",
                                               os::Registry::kKeyRead);
    if (!key) return false;
    std::wstring text;
    return registry.ReadText(key.get(), L"CurrentVersion", kRegistryTextBytes, text) ==
               Registry::StringRead::kText &&
           text == L"6.3";
}

void NameVersion6(const os::OsVersion& version, DisplayName& name) {
    const bool workstation = version.productType == kWorkstation;
    std::uint32_t minor = version.minor;
    bool vista = false;
    if (minor == 0) {
        vista = workstation;
        name.Append(workstation ? L"Windows Vista " : L"Windows Server 2008 ");
        StoreFlag(workstation ? kVista : kServer2008, true);
    }
    if (minor == 1) {
        name.Append(workstation ? L"Windows 7 " : L"Windows Server 2008 R2 ");
        StoreFlag(workstation ? kWindows7 : kServer2008R2, true);
    }
    if (RegistrySaysWindows81()) {
        minor = 3;
    } else if (minor == 2) {
        name.Append(workstation ? L"Windows 8 " : L"Windows Server 2012 ");
        StoreFlag(workstation ? kWindows8 : kServer2012, true);
    }
    if (minor == 3) {
        name.Append(workstation ? L"Windows 8.1 " : L"Windows Server 2012 ");
        StoreFlag(workstation ? kWindows81 : kServer2012, true);
    }
    std::uint32_t productType = 0;
    Service().GetProductInfo(version.major, minor, 0, 0, productType);
    for (const Edition& edition : kEditions) {
        if (edition.productType != productType) continue;
        name.Append(edition.text);
        if (vista && edition.vistaFlag != 0) StoreFlag(edition.vistaFlag, true);
    }
}

// The editions of a 5.2 server, by architecture.
const wchar_t* Server2003Edition(std::uint16_t suite, std::uint16_t architecture) {
    const bool datacenter = (suite & kSuiteDatacenter) != 0;
    const bool enterprise = (suite & kSuiteEnterprise) != 0;
    if (architecture == SystemInfo::kArchitectureIa64) {
        if (datacenter) return L"Datacenter Edition for Itanium-based Systems";
        if (enterprise) return L"Enterprise Edition for Itanium-based Systems";
        return L"";
    }
    if (architecture == SystemInfo::kArchitectureAmd64) {
        if (datacenter) return L"Datacenter x64 Edition";
        if (enterprise) return L"Enterprise x64 Edition";
        return L"Standard x64 Edition";
    }
    if ((suite & kSuiteComputeServer) != 0) return L"Compute Cluster Edition";
    if (datacenter) return L"Datacenter Edition";
    if (enterprise) return L"Enterprise Edition";
    if ((suite & kSuiteBlade) != 0) return L"Web Edition";
    return L"Standard Edition";
}

void NameVersion52(const os::OsVersion& version, std::uint16_t architecture, DisplayName& name) {
    // The storage and home server suites are recognised only as the whole mask.
    if (Service().GetSystemMetrics(SystemInfo::kServerR2Metric) != 0) {
        name.Append(L"Windows Server 2003 R2, ");
        StoreFlag(kServer2003, true);
    } else if (version.suiteMask == kSuiteStorageServer) {
        name.Append(L"Windows Storage Server 2003");
        StoreFlag(kServer2003, true);
    } else if (version.suiteMask == kSuiteHomeServer) {
        name.Append(L"Windows Home Server");
        StoreFlag(kHomeServer, true);
    } else if (version.productType == kWorkstation &&
               architecture == SystemInfo::kArchitectureAmd64) {
        name.Append(L"Windows XP Professional x64 Edition");
        StoreFlag(kWindowsXp, true);
    } else {
        name.Append(L"Windows Server 2003, ");
        StoreFlag(kServer2003, true);
    }
    if (version.productType != kWorkstation) {
        name.Append(Server2003Edition(version.suiteMask, architecture));
    }
}

void NameVersion51(const os::OsVersion& version, DisplayName& name) {
    name.Append(L"Windows XP ");
    StoreFlag(kWindowsXp, true);
    name.Append((version.suiteMask & kSuitePersonal) != 0 ? L"Home Edition" : L"Professional");
}

void NameVersion50(const os::OsVersion& version, DisplayName& name) {
    name.Append(L"Windows 2000 ");
    StoreFlag(kWindows2000, true);
    if (version.productType == kWorkstation) {
        name.Append(L"Professional");
    } else if ((version.suiteMask & kSuiteDatacenter) != 0) {
        name.Append(L"Datacenter Server");
    } else if ((version.suiteMask & kSuiteEnterprise) != 0) {
        name.Append(L"Advanced Server");
    } else {
        name.Append(L"Server");
    }
}

std::wstring BuildText(std::uint32_t build) {
    // The build number is printed as a signed int.
    wchar_t text[80] = {};
    std::swprintf(text, 80, L" (build %d)", static_cast<int>(build));
    return text;
}

void StoreVersionValues() {
    os::OsVersion version;
    if (!Service().GetVersion(version)) return;
    const std::wstring text = std::to_wstring(version.major) + L"." +
                              std::to_wstring(version.minor) + L"." +
                              std::to_wstring(version.build);
    Version full(text);
    Store(71309, full);
    Store(71072, full);
    StoreVersion(71367, version.major);
    StoreVersion(71368, version.minor);
    StoreVersion(71366, version.build);
    StoreVersion(71364, version.servicePackMajor);
    StoreVersion(71365, version.servicePackMinor);
    StoreName(71363, std::to_wstring(version.suiteMask));
    StoreName(71362, std::to_wstring(version.productType));
    wchar_t lcid[16] = {};
    std::swprintf(lcid, 16, L"%04X", static_cast<unsigned>(Service().GetUserDefaultLcid()));
    StoreName(71388, lcid);
}

// The session reads this back as the computer identifier.
void StoreComputerId() {
    std::wstring guid;
    std::wstring text = L"0";
    if (Service().CreateGuidText(guid) >= 0) {
        text.clear();
        for (wchar_t c : guid) {
            if (c != L'{' && c != L'}') text += c;
        }
    }
    StoreName(71207, text);
}

void StoreWow64() {
    bool wow64 = false;
    if (Service().IsWow64Process(wow64) && wow64) StoreFlag(kSixtyFourBit, true);
}

}  // namespace

OS::OS() : Detector(nullptr, L"Error in OS detection.") {}

void OS::Initialize() { ScopeTrace trace(L"rigel::OS::Initialize"); }

void OS::Run() {
    for (std::uint32_t flag : kFlags) StoreFlag(flag, false);
    std::wstring name;
    if (GetDisplayName(name)) StoreName(71060, name);
    StoreVersionValues();
    StoreComputerId();
    StoreWow64();
    GetSupportInformation();
}

bool OS::GetDisplayName(std::wstring& displayName) {
    os::OsVersion version;
    if (!Service().GetVersion(version)) return false;
    const std::uint16_t architecture = Service().GetNativeSystemInfo().processorArchitecture;
    if (version.platformId != SystemInfo::kPlatformNt || version.major < 5) return false;

    DisplayName name;
    name.Append(L"Microsoft ");
    if (architecture == SystemInfo::kArchitectureIa64) {
        StoreFlag(kSixtyFourBit, true);
        StoreFlag(kIa64, true);
    } else if (architecture == SystemInfo::kArchitectureAmd64) {
        StoreFlag(kSixtyFourBit, true);
        StoreFlag(kAmd64, true);
    }
    if (version.major == 6) {
        NameVersion6(version, name);
    } else if (version.major == 5 && version.minor == 2) {
        NameVersion52(version, architecture, name);
    } else if (version.major == 5 && version.minor == 1) {
        NameVersion51(version, name);
    } else if (version.major == 5 && version.minor == 0) {
        NameVersion50(version, name);
    }
    if (!version.servicePack.empty()) {
        name.Append(L" ");
        name.Append(version.servicePack);
    }
    name.Append(BuildText(version.build));
    if (version.major >= 6) {
        if (architecture == SystemInfo::kArchitectureAmd64) name.Append(L", 64-bit");
        if (architecture == SystemInfo::kArchitectureX86) name.Append(L", 32-bit");
    }
    displayName = name.Text();
    return true;
}

void OS::GetSupportInformation() {
    ScopeTrace trace(L"rigel::OS::GetSupportInformation");
    Registry& registry = Registry::Instance();
    const os::UniqueKey setup =
        registry.OpenKey(os::Registry::kLocalMachine,
                         L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP", os::Registry::kKeyRead);
    if (!setup) return;
    os::Registry& service = *os::Current().registry;
    std::wstring version;
    bool found = false;
    for (std::uint32_t index = 0;; ++index) {
        std::wstring subkeyName;
        const std::int32_t status =
            service.EnumKey(setup.get(), index, kSubkeyNameCapacity, subkeyName);
        if (status == os::Registry::kNoMoreItems) break;
        // A name too long for the buffer is passed over; any other failure ends the walk.
        if (status == os::Registry::kMoreData) continue;
        if (status != os::Registry::kSuccess) break;
        const os::UniqueKey subkey =
            registry.OpenKey(setup.get(), subkeyName, os::Registry::kKeyRead);
        if (!subkey) continue;
        std::wstring text;
        // No comparison: the last subkey in enumeration order wins.
        if (registry.ReadText(subkey.get(), L"Version", kRegistryTextBytes, text) ==
            Registry::StringRead::kText) {
            version = text;
            found = true;
            Log::Instance().Line(Log::kTrace, L"Using version: ", version);
        }
    }
    if (!found) return;
    Version net(version);
    Store(71193, net);
}

}  // namespace rigel
