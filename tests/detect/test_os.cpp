#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "core/system.h"
#include "detect/platform/os.h"
#include "detect/stored_values.h"
#include "diag/log.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

constexpr os::HKey kMachine = os::Registry::kLocalMachine;
const std::wstring kCurrentVersion = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
const std::wstring kNdp = L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP";
constexpr std::uint16_t kX86 = os::SystemInfo::kArchitectureX86;
constexpr std::uint16_t kIa64 = os::SystemInfo::kArchitectureIa64;
constexpr std::uint16_t kAmd64 = os::SystemInfo::kArchitectureAmd64;

const std::vector<std::uint32_t> kFlags = {71262, 71263, 71264, 71361, 71360, 71265, 71266, 71310,
                                           71267, 71270, 71251, 71271, 71272, 71273, 71274, 71275,
                                           71276, 71350, 71465, 71466, 71484, 71502, 71485, 71492};

void SetVersion(os::FakeSystemInfo& info, std::uint32_t major, std::uint32_t minor,
                std::uint32_t build, std::uint8_t productType, std::uint16_t suite = 0,
                const std::wstring& servicePack = L"") {
    os::OsVersion& version = info.version;
    version = os::OsVersion{};
    version.major = major;
    version.minor = minor;
    version.build = build;
    version.platformId = os::SystemInfo::kPlatformNt;
    version.servicePack = servicePack;
    version.suiteMask = suite;
    version.productType = productType;
}

void Detect() {
    OS os;
    os.Detect();
}

// The stored text, or "<none>".
std::wstring Text(std::uint32_t id) {
    SystemValue value(SystemValueID(GroupID(id), 0), L"<none>");
    System::Instance().GetSystemValues().TryGetValue(value.id, value);
    return value.text;
}

// The flags stored "Yes"; every one of the 24 must be stored as "Yes" or "No".
std::set<std::uint32_t> TrueFlags() {
    std::set<std::uint32_t> flags;
    for (std::uint32_t flag : kFlags) {
        const std::wstring text = Text(flag);
        EXPECT_TRUE(text == L"Yes" || text == L"No") << flag;
        if (text == L"Yes") flags.insert(flag);
    }
    return flags;
}

class OSTest : public ::testing::Test {
  protected:
    ~OSTest() override { EXPECT_EQ(machine.registry.OpenKeyCount(), 0u); }

    test::FakeMachine machine;
};

TEST_F(OSTest, NamesEachReleaseAndSetsItsFlags) {
    struct Machine {
        std::uint32_t major, minor, build;
        std::uint8_t productType;
        std::uint16_t suite;
        std::wstring servicePack;
        std::uint16_t architecture;
        std::uint32_t edition;  // what GetProductInfo reports
        bool serverR2;
        std::set<std::uint32_t> flags;  // the flags stored "Yes"
    };
    struct Case {
        Machine machine;
        std::wstring name;
    };
    const Case cases[] = {
        {{6, 1, 7601, 1, 0x100, L"Service Pack 1", kAmd64, 1, false, {71264, 71361, 71350}},
         L"Microsoft Windows 7 Ultimate Edition Service Pack 1 (build 7601), 64-bit"},
        // Windows 7 sets none of Vista's edition flags.
        {{6, 1, 7601, 1, 0, L"", kAmd64, 3, false, {71264, 71361, 71350}},
         L"Microsoft Windows 7 Home Premium Edition (build 7601), 64-bit"},
        {{6, 0, 6002, 1, 0, L"Service Pack 2", kX86, 3, false, {71251, 71274}},
         L"Microsoft Windows Vista Home Premium Edition Service Pack 2 (build 6002), 32-bit"},
        {{6, 0, 6000, 1, 0, L"", kAmd64, 1, false, {71264, 71361, 71251, 71275}},
         L"Microsoft Windows Vista Ultimate Edition (build 6000), 64-bit"},
        {{6, 0, 6000, 1, 0, L"", kX86, 6, false, {71251, 71271}},
         L"Microsoft Windows Vista Business Edition (build 6000), 32-bit"},
        {{6, 0, 6000, 1, 0, L"", kX86, 11, false, {71251}},
         L"Microsoft Windows Vista Starter Edition (build 6000), 32-bit"},
        {{6, 0, 6001, 3, 0x80, L"Service Pack 1", kAmd64, 12, false, {71264, 71361, 71465}},
         L"Microsoft Windows Server 2008 Datacenter Edition (core installation) Service Pack 1 "
         L"(build 6001), 64-bit"},
        {{6, 0, 6001, 3, 0, L"", kIa64, 15, false, {71264, 71360, 71465}},
         L"Microsoft Windows Server 2008 Enterprise Edition for Itanium-based Systems (build "
         L"6001)"},
        {{6, 1, 7600, 2, 0, L"", kAmd64, 25, false, {71264, 71361, 71466}},
         L"Microsoft Windows Server 2008 R2 Small Business Server Premium Edition (build 7600), "
         L"64-bit"},
        {{6, 2, 9200, 1, 0, L"", kAmd64, 0x30, false, {71264, 71361, 71484}},
         L"Microsoft Windows 8  (build 9200), 64-bit"},
        {{6, 3, 9600, 3, 0, L"", kAmd64, 8, false, {71264, 71361, 71485}},
         L"Microsoft Windows Server 2012 Datacenter Edition (build 9600), 64-bit"},
        // Windows 8.1 reporting itself as 6.3.
        {{6, 3, 9600, 1, 0, L"", kX86, 0x30, false, {71502}},
         L"Microsoft Windows 8.1  (build 9600), 32-bit"},
        // A release later than 6 has no name.
        {{10, 0, 19045, 1, 0, L"", kAmd64, 0x30, false, {71264, 71361}},
         L"Microsoft  (build 19045), 64-bit"},
        {{5, 2, 3790, 3, 0x2, L"Service Pack 2", kAmd64, 0, true, {71264, 71361, 71263}},
         L"Microsoft Windows Server 2003 R2, Enterprise x64 Edition Service Pack 2 (build 3790)"},
        {{5, 2, 3790, 3, 0x2000, L"", kX86, 0, false, {71263}},
         L"Microsoft Windows Storage Server 2003Standard Edition (build 3790)"},
        // The storage bit with another suite bit falls through to the plain server.
        {{5, 2, 3790, 3, 0x2010, L"Service Pack 2", kX86, 0, false, {71263}},
         L"Microsoft Windows Server 2003, Standard Edition Service Pack 2 (build 3790)"},
        {{5, 2, 3790, 1, 0x8000, L"", kX86, 0, false, {71492}},
         L"Microsoft Windows Home Server (build 3790)"},
        {{5, 2, 3790, 1, 0, L"Service Pack 2", kAmd64, 0, false, {71264, 71361, 71276}},
         L"Microsoft Windows XP Professional x64 Edition Service Pack 2 (build 3790)"},
        {{5, 2, 3790, 3, 0x82, L"", kIa64, 0, false, {71264, 71360, 71263}},
         L"Microsoft Windows Server 2003, Datacenter Edition for Itanium-based Systems (build "
         L"3790)"},
        {{5, 2, 3790, 3, 0, L"", kAmd64, 0, false, {71264, 71361, 71263}},
         L"Microsoft Windows Server 2003, Standard x64 Edition (build 3790)"},
        {{5, 2, 3790, 3, 0x4082, L"", kX86, 0, false, {71263}},
         L"Microsoft Windows Server 2003, Compute Cluster Edition (build 3790)"},
        {{5, 1, 2600, 1, 0x200, L"Service Pack 3", kX86, 0, false, {71276}},
         L"Microsoft Windows XP Home Edition Service Pack 3 (build 2600)"},
        {{5, 1, 2600, 1, 0x100, L"Service Pack 3", kX86, 0, false, {71276}},
         L"Microsoft Windows XP Professional Service Pack 3 (build 2600)"},
        {{5, 0, 2195, 1, 0x82, L"Service Pack 4", kX86, 0, false, {71262}},
         L"Microsoft Windows 2000 Professional Service Pack 4 (build 2195)"},
        {{5, 0, 2195, 2, 0x2, L"", kX86, 0, false, {71262}},
         L"Microsoft Windows 2000 Advanced Server (build 2195)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        test::FreshProcessState();
        const Machine& m = c.machine;
        SetVersion(machine.systemInfo, m.major, m.minor, m.build, m.productType, m.suite,
                   m.servicePack);
        machine.systemInfo.nativeSystemInfo.processorArchitecture = m.architecture;
        machine.systemInfo.productType = m.edition;
        machine.systemInfo.metrics[os::SystemInfo::kServerR2Metric] = m.serverR2 ? 1 : 0;
        machine.registry.SetString(kMachine, kCurrentVersion, L"CurrentVersion",
                                   std::to_wstring(m.major) + L"." + std::to_wstring(m.minor));
        Detect();
        EXPECT_EQ(Text(71060), c.name);
        EXPECT_EQ(TrueFlags(), m.flags);
    }
}

TEST_F(OSTest, StoresEveryValueInOrder) {
    SetVersion(machine.systemInfo, 6, 1, 7601, 1, 0x100, L"Service Pack 1");
    machine.systemInfo.version.servicePackMajor = 1;
    machine.systemInfo.productType = 0x1C;
    machine.systemInfo.guidText = L"{6B29FC40-CA47-1067-B31D-00DD010662DA}";
    machine.registry.SetString(kMachine, kNdp + L"\\v4\\Full", L"Version", L"4.8.04084");
    Detect();
    std::vector<std::wstring> expected;
    for (std::uint32_t flag : kFlags) {
        const bool set = flag == 71264 || flag == 71361 || flag == 71350;
        expected.push_back(std::to_wstring(flag) + L"#0=" + (set ? L"Yes" : L"No"));
    }
    for (const wchar_t* rest :
         {L"71060#0=Microsoft Windows 7  Service Pack 1 (build 7601), 64-bit", L"71309#0=6.1.7601",
          L"71072#0=6.1.7601", L"71367#0=6", L"71368#0=1", L"71366#0=7601", L"71364#0=1",
          L"71365#0=0", L"71363#0=256", L"71362#0=1", L"71388#0=0409",
          L"71207#0=6B29FC40-CA47-1067-B31D-00DD010662DA"}) {
        expected.push_back(rest);
    }
    // The setup key's subkeys carry no "Version" of their own: no .NET version.
    EXPECT_EQ(test::Stored(), expected);
}

TEST_F(OSTest, VersionLocaleAndIdentifierEdges) {
    struct Case {
        const char* what;
        bool versionSucceeds;
        std::uint32_t platformId;
        std::uint32_t major;
        std::uint32_t lcid;
        std::int32_t guidStatus;
        std::wstring name, version, lcidText, guid;
    };
    const std::wstring none = L"<none>";
    const Case cases[] = {
        {"no version", false, 2, 6, 0x0409, 0, none, none, none, L"0000-1111"},
        {"not NT", true, 1, 6, 0x0409, 0, none, L"6.1.7601", L"0409", L"0000-1111"},
        {"NT 4", true, 2, 4, 0x0C0A, 0, none, L"4.1.7601", L"0C0A", L"0000-1111"},
        {"small locale", true, 2, 6, 0x7, 0, L"Microsoft Windows 7  (build 7601), 64-bit",
         L"6.1.7601", L"0007", L"0000-1111"},
        {"no GUID", true, 2, 6, 0x0407, static_cast<std::int32_t>(0x80004005),
         L"Microsoft Windows 7  (build 7601), 64-bit", L"6.1.7601", L"0407", L"0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FreshProcessState();
        SetVersion(machine.systemInfo, c.major, 1, 7601, 1);
        machine.systemInfo.versionSucceeds = c.versionSucceeds;
        machine.systemInfo.version.platformId = c.platformId;
        machine.systemInfo.lcid = c.lcid;
        machine.systemInfo.guidStatus = c.guidStatus;
        machine.systemInfo.guidText = L"{0000-1111}";
        Detect();
        EXPECT_EQ(Text(71060), c.name);
        EXPECT_EQ(Text(71309), c.version);
        EXPECT_EQ(Text(71367), c.versionSucceeds ? std::to_wstring(c.major) : none);
        EXPECT_EQ(Text(71388), c.lcidText);
        EXPECT_EQ(Text(71207), c.guid);
        EXPECT_EQ(TrueFlags().count(71264), c.name == none ? 0u : 1u);
    }
}

TEST_F(OSTest, Wow64MarksA64BitSystem) {
    struct Case {
        const char* what;
        bool succeeds;
        bool wow64;
        std::set<std::uint32_t> flags;
    };
    const Case cases[] = {
        {"32-bit process on 64-bit Windows", true, true, {71350, 71264}},
        {"32-bit Windows", true, false, {71350}},
        {"test fails", false, true, {71350}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FreshProcessState();
        SetVersion(machine.systemInfo, 6, 1, 7601, 1);
        machine.systemInfo.nativeSystemInfo.processorArchitecture = kX86;
        machine.systemInfo.wow64Succeeds = c.succeeds;
        machine.systemInfo.wow64 = c.wow64;
        Detect();
        EXPECT_EQ(Text(71060), L"Microsoft Windows 7  (build 7601), 32-bit");
        EXPECT_EQ(TrueFlags(), c.flags);
    }
}

TEST_F(OSTest, DotNetVersionIsTheLastSubkeyWithAVersion) {
    Log::Instance().SetLevel(Log::kTrace);
    const std::wstring longName(100, L'x');
    machine.registry.SetString(kMachine, kNdp + L"\\v4.0", L"Version", L"4.0.0.0");
    machine.registry.SetString(kMachine, kNdp + L"\\v2.0.50727", L"Version", L"2.0.50727.4927");
    machine.registry.SetString(kMachine, kNdp + L"\\" + longName, L"Version", L"9.9");
    machine.registry.SetString(kMachine, kNdp + L"\\v4\\Client", L"Version", L"4.8.04084");
    machine.registry.SetDword(kMachine, kNdp + L"\\v5", L"Version", 5);
    machine.registry.SetString(kMachine, kNdp + L"\\v6", L"Version", std::wstring(100, L'6'));
    SetVersion(machine.systemInfo, 6, 1, 7601, 1);
    Detect();
    EXPECT_EQ(Text(71193), L"2.0.50727.4927");
    std::vector<std::wstring> used;
    for (const auto& message : machine.LogMessages()) {
        if (message.rfind(L"Using version: ", 0) == 0) used.push_back(message);
    }
    EXPECT_EQ(used, (std::vector<std::wstring>{L"Using version: 4.0.0.0",
                                               L"Using version: 2.0.50727.4927"}));
}

// Each case stages its own registry, so each runs on a machine of its own.
TEST(OSRegistryTest, Windows81ReportedAs62IsNamedFromTheRegistry) {
    struct Case {
        const char* what;
        std::uint8_t productType;
        std::function<void(os::FakeRegistry&)> stage;
        std::wstring name;
        std::uint32_t flag;
    };
    const auto text = [](std::wstring value, std::uint32_t type = os::Registry::kString) {
        return [=](os::FakeRegistry& registry) {
            registry.SetString(kMachine, kCurrentVersion, L"CurrentVersion", value, type);
        };
    };
    const std::wstring eight = L"Microsoft Windows 8 Enterprise Edition (build 9200), 64-bit";
    const Case cases[] = {
        {"6.3", 1, text(L"6.3"), L"Microsoft Windows 8.1 Enterprise Edition (build 9200), 64-bit",
         71502},
        {"6.3 server", 3, text(L"6.3"),
         L"Microsoft Windows Server 2012 Enterprise Edition (build 9200), 64-bit", 71485},
        {"6.2", 1, text(L"6.2"), eight, 71484},
        {"not exactly 6.3", 1, text(L"6.3 "), eight, 71484},
        {"no key", 1, [](os::FakeRegistry&) {}, eight, 71484},
        {"key refused", 1,
         [&](os::FakeRegistry& registry) {
             text(L"6.3")(registry);
             registry.FailOpen(kMachine, kCurrentVersion, os::Registry::kKeyRead,
                               os::Registry::kAccessDenied);
         },
         eight, 71484},
        {"not terminated", 1,
         [](os::FakeRegistry& registry) {
             registry.SetValue(kMachine, kCurrentVersion, L"CurrentVersion", os::Registry::kString,
                               os::FakeRegistry::Utf16(L"6.3"));
         },
         eight, 71484},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        c.stage(machine.registry);
        SetVersion(machine.systemInfo, 6, 2, 9200, c.productType);
        machine.systemInfo.productType = 4;
        Detect();
        EXPECT_EQ(Text(71060), c.name);
        EXPECT_EQ(TrueFlags(), (std::set<std::uint32_t>{71264, 71361, c.flag}));
        EXPECT_EQ(machine.registry.OpenKeyCount(), 0u);
    }
}

}  // namespace
}  // namespace rigel
