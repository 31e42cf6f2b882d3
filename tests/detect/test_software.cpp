#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "detect/platform/intel_widi_lib.h"
#include "detect/platform/software.h"
#include "detect/stored_values.h"
#include "detect/widi_exports.h"
#include "diag/log.h"
#include "support/fake_machine.h"
#include "support/throwing_installer.h"

namespace rigel {
namespace {

constexpr os::HKey kMachine = os::Registry::kLocalMachine;
constexpr std::uint32_t kRead64 = os::Registry::kKeyRead | os::Registry::kWow64_64Key;
const std::wstring kLibraryPath = L"C:\\Program Files\\Rigel\\widiutil.dll";
const std::wstring kClassKey =
    L"system\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002BE10318}\\";
const std::wstring kVirtualAdapter = L"Intel(R) Advanced Network Services Virtual Adapter";
const std::wstring kUpgradeCode = L"{EAB78CB1-2951-4462-83D4-5F72F56E7312}";
using test::Stored;
using test::WiDiExports;

// A machine whose control lies in "C:\Program Files\Rigel", with the library there unless told.
struct WiDiMachine : test::FakeMachine {
    explicit WiDiMachine(const std::string& missingExport = "none") {
        WiDiExports::Chosen() = WiDiExports{};
        libraries.AddLibrary(kLibraryPath, WiDiExports::Table(missingExport));
        Log::Instance().SetLevel(Log::kTrace);
    }
};

TEST(IntelWiDiLibTest, VersionsNeedAStatusOfZeroAndALeadingPartThatIsNotZero) {
    struct Case {
        const char* what;
        WiDiExports::Version chosen;
        bool delivered;
        std::wstring text;
    };
    const Case cases[] = {
        {"3.0.0.0", {0, {3, 0, 0, 0}}, true, L"3.0.0.0"},
        {"second part alone", {0, {0, 2, 0, 0}}, true, L"0.2.0.0"},
        {"first two parts zero", {0, {0, 0, 5, 1}}, false, L""},
        {"failed call", {1, {3, 1, 2, 4}}, false, L""},
        {"negative parts in decimal", {0, {-1, 7, 65536, 9}}, true, L"-1.7.65536.9"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        WiDiMachine machine;
        WiDiExports::Chosen().widi = c.chosen;
        WiDiExports::Chosen().widgit = c.chosen;
        IntelWiDiLib& library = IntelWiDiLib::Instance();
        std::wstring widi = L"old";
        std::wstring widgit = L"old";
        EXPECT_EQ(library.GetWiDiVersion(widi), c.delivered);
        EXPECT_EQ(library.GetWidgitVersion(widgit), c.delivered);
        EXPECT_EQ(widi, c.text);
        EXPECT_EQ(widgit, c.text);
    }
}

TEST(IntelWiDiLibTest, PlatformAndProductFlagWhetherTheLibraryReportedZero) {
    WiDiMachine machine;
    IntelWiDiLib& library = IntelWiDiLib::Instance();
    EXPECT_EQ(machine.libraries.loads, std::vector<std::wstring>{kLibraryPath});
    bool flag = false;
    EXPECT_TRUE(library.GetPlatform(flag));
    EXPECT_TRUE(flag);
    WiDiExports::Chosen().product.value = 7;
    flag = true;
    EXPECT_TRUE(library.GetProduct(flag));
    EXPECT_FALSE(flag);
    WiDiExports::Chosen().platform = {5, 0};
    flag = true;
    EXPECT_FALSE(library.GetPlatform(flag));
    EXPECT_FALSE(flag);
}

TEST(IntelWiDiLibTest, WithoutTheLibraryOrOneOfItsExportsEveryQueryIsFalse) {
    struct Case {
        const char* what;
        std::wstring moduleFileName;
        std::string missingExport;
        std::vector<std::wstring> messages;
        std::size_t loadedAfter;  // libraries still loaded while the instance lives
    };
    const Case cases[] = {
        {"library not in the control's folder",
         L"D:\\Elsewhere\\rigel.dll",
         "none",
         {L"Failure to load widiutil.dll: 126", L"Failure to initialize IntelWiDiLib class"},
         0},
        {"an export missing",
         L"C:\\Program Files\\Rigel\\rigel.dll",
         "GetWidgitVersion",
         {L"Error getting proc addresses from IntelWiDi library.",
          L"Failure to initialize IntelWiDiLib class"},
         1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        WiDiMachine machine(c.missingExport);
        machine.systemInfo.moduleFileName = c.moduleFileName;
        WiDiExports::Chosen().widi = {0, {3, 0, 0, 0}};
        IntelWiDiLib& library = IntelWiDiLib::Instance();
        EXPECT_EQ(machine.LogMessages(), c.messages);
        std::wstring version;
        bool flag = true;
        EXPECT_FALSE(library.GetWiDiVersion(version));
        EXPECT_FALSE(library.GetPlatform(flag));
        EXPECT_FALSE(flag);
        EXPECT_EQ(machine.libraries.LoadedCount(), c.loadedAfter);
        IntelWiDiLib::DestroyInstanceForTesting();
        EXPECT_EQ(machine.libraries.LoadedCount(), 0u);
    }
}

std::vector<std::wstring> StoredBy(Software& software) {
    software.Detect();
    return Stored();
}

TEST(SoftwareTest, WithNothingInstalledStoresItsVersionAndTheFlagsThatAreAlwaysStored) {
    test::FakeMachine machine;
    Software software;
    EXPECT_EQ(StoredBy(software), (std::vector<std::wstring>{L"71351#0=4.5.22.0", L"71489#0=No",
                                                             L"71487#0=No", L"71499#0=No"}));
    EXPECT_EQ(machine.registry.OpenKeyCount(), 0u);
}

TEST(SoftwareTest, ManagementSoftwareVersionsComeFromTheFirstKeyThatOpens) {
    test::FakeMachine machine;
    const std::wstring common = L"Software\\Intel\\WirelessCommon\\AppFramework\\Settings";
    const std::wstring wireless = L"Software\\Intel\\Wireless\\AppFramework\\Settings";
    const std::wstring dmix = L"Software\\Intel\\Network_Services\\DMIX";
    machine.registry.SetString(kMachine, dmix, L"OEMVersion", L"16.8.0");
    machine.registry.FailOpen(kMachine, dmix, os::Registry::kKeyRead, os::Registry::kAccessDenied);
    machine.registry.SetString(kMachine, common, L"PROSetVersion", L"15.1.0");
    machine.registry.SetString(kMachine, wireless, L"PROSetVersion", L"14.0.0");
    machine.registry.FailOpen(kMachine, common, os::Registry::kKeyRead,
                              os::Registry::kFileNotFound);
    Software software;
    const auto stored = StoredBy(software);
    ASSERT_GE(stored.size(), 3u);
    EXPECT_EQ(stored[1], L"71377#0=16.8.0");
    // The second key with plain access comes before the first with the 64-bit view.
    EXPECT_EQ(stored[2], L"71369#0=14.0.0");
    std::vector<std::pair<std::wstring, std::uint32_t>> opens(machine.registry.opens.begin(),
                                                              machine.registry.opens.begin() + 4);
    EXPECT_EQ(opens, (std::vector<std::pair<std::wstring, std::uint32_t>>{
                         {dmix, os::Registry::kKeyRead},
                         {dmix, kRead64},
                         {common, os::Registry::kKeyRead},
                         {wireless, os::Registry::kKeyRead}}));
}

TEST(SoftwareTest, AdapterScanStopsAtTheFirstMissingClassKey) {
    struct Case {
        const char* what;
        std::vector<const wchar_t*> descriptions;  // keys 0000, 0001, ...; null: key missing
        std::size_t opened;                        // class keys asked for
        std::wstring stored;                       // 71370, or the flag that follows without it
    };
    const wchar_t* const ans = kVirtualAdapter.c_str();
    const std::wstring none = L"71489#0=No";
    const Case cases[] = {
        {"found at 0003", {L"a", L"b", L"c", ans, L"e"}, 4, L"71370#0=9.13.41.3"},
        {"beyond a gap", {L"a", L"b", L"c", L"d", L"e", nullptr, ans}, 6, none},
        {"letter case differs", {L"Intel(R) advanced network services virtual adapter"}, 2, none},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        for (std::size_t i = 0; i < c.descriptions.size(); ++i) {
            if (c.descriptions[i] == nullptr) continue;
            const std::wstring key = kClassKey + L"000" + std::to_wstring(i);
            machine.registry.SetString(kMachine, key, L"DriverDesc", c.descriptions[i]);
            machine.registry.SetString(kMachine, key, L"DriverVersion",
                                       L"9.13.41." + std::to_wstring(i));
        }
        Software software;
        EXPECT_EQ(StoredBy(software)[1], c.stored);
        std::size_t opened = 0;  // class keys asked for in order, with plain read access
        for (const auto& open : machine.registry.opens) {
            if (open.first.rfind(kClassKey, 0) != 0) continue;
            EXPECT_EQ(open, std::make_pair(kClassKey + L"000" + std::to_wstring(opened++),
                                           os::Registry::kKeyRead));
        }
        EXPECT_EQ(opened, c.opened);
    }
}

TEST(SoftwareTest, WiDiLibraryResultsAreStoredWithTheirFlags) {
    WiDiMachine machine;
    WiDiExports::Chosen().widgit = {0, {2, 5, 0, 17}};
    WiDiExports::Chosen().widi = {0, {0, 0, 5, 1}};
    WiDiExports::Chosen().product = {0, 0};
    WiDiExports::Chosen().platform = {1, 0};
    Software software;
    EXPECT_EQ(StoredBy(software),
              (std::vector<std::wstring>{L"71351#0=4.5.22.0", L"71488#0=2.5.0.17", L"71489#0=Yes",
                                         L"71487#0=No", L"71490#0=Yes", L"71499#0=No"}));
}

// A version too long for the installer's buffer of 100 is not found, and the search goes on.
TEST(SoftwareTest, WiDiInstallationFromTheUpgradeCodeOrTheFirstListedProduct) {
    struct Case {
        const char* what;
        std::wstring byUpgradeCode;        // version of the product with the upgrade code, if any
        std::vector<std::wstring> listed;  // product codes of the list that are installed
        std::wstring listedVersion;
        std::vector<std::wstring> tail;  // what is stored last
        std::size_t queries;             // products asked for their version
    };
    const std::vector<std::wstring> found = {L"71499#0=Yes", L"71500#0=3.5.41"};
    const Case cases[] = {
        {"by upgrade code",
         L"9.9.9",
         {L"{7854AA22-A2F0-4F29-A2E9-D0C5A2B685E7}"},
         L"3.5.41",
         {L"71499#0=Yes", L"71500#0=9.9.9"},
         1},
        {"12th listed code",
         L"",
         {L"{7854AA22-A2F0-4F29-A2E9-D0C5A2B685E7}", L"{5A80B0BA-79AF-4b11-B851-CCB9F7977AC0}"},
         L"3.5.41",
         found,
         12},
        {"last listed code, written in another case",
         L"",
         {L"{5a80b0ba-79af-4B11-b851-ccb9f7977ac0}"},
         L"3.5.41",
         found,
         23},
        {"none", L"", {}, L"", {L"71499#0=No"}, 24},
        {"upgrade code's version too long",
         std::wstring(100, L'1'),
         {L"{0728A184-F899-4356-B93D-8228674F0DEB}"},
         std::wstring(99, L'2'),
         {L"71499#0=Yes", L"71500#0=" + std::wstring(99, L'2')},
         12},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        if (!c.byUpgradeCode.empty()) {
            machine.installer.AddProduct(L"{11111111-2222-3333-4444-555555555555}", kUpgradeCode,
                                         {{L"VersionString", c.byUpgradeCode}});
        }
        for (const std::wstring& code : c.listed) {
            machine.installer.AddProduct(code, L"", {{L"VersionString", c.listedVersion}});
        }
        Software software;
        const auto stored = StoredBy(software);
        const auto tail = stored.end() - static_cast<std::ptrdiff_t>(c.tail.size());
        EXPECT_EQ(std::vector<std::wstring>(tail, stored.end()), c.tail);
        EXPECT_EQ(machine.installer.productQueries.size(), c.queries);
    }
}

TEST(SoftwareTest, AFailureEndsDetectionWithItsMessageAndKeepsWhatWasStored) {
    test::FakeMachine machine;
    test::ThrowingInstaller installer;
    os::Services services = os::Current();
    services.installer = &installer;
    os::ScopedServices scope(services);
    Log::Instance().SetLevel(Log::kError);
    Software software;
    EXPECT_EQ(StoredBy(software),
              (std::vector<std::wstring>{L"71351#0=4.5.22.0", L"71489#0=No", L"71487#0=No"}));
    EXPECT_EQ(machine.LogMessages(),
              (std::vector<std::wstring>{L"Failure to load widiutil.dll: 126",
                                         L"Failure to initialize IntelWiDiLib class",
                                         L"Error in Software detection."}));
}

}  // namespace
}  // namespace rigel
