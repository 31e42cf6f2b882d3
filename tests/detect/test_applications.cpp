#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "detect/platform/applications.h"
#include "detect/stored_values.h"
#include "diag/log.h"
#include "support/fake_machine.h"
#include "support/throwing_installer.h"

namespace rigel {
namespace {

constexpr os::HKey kMachine = os::Registry::kLocalMachine;
const std::wstring kAppPaths = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\";
const std::wstring kJavaKey = L"SOFTWARE\\JavaSoft\\Java Runtime Environment";
const std::wstring kUpgradeCode = L"{3F0FC462-CDC1-4CD9-8E84-84D89B914EAA}";
using test::Stored;

// Stored first, in this order.
const std::vector<std::wstring> kFlagsCleared = {L"71409#0=No", L"71411#0=No", L"71413#0=No",
                                                 L"71415#0=No", L"71417#0=No", L"71419#0=No",
                                                 L"71426#0=No"};

std::vector<std::wstring> Detected() {
    Applications applications;
    applications.Detect();
    return Stored();
}

// The whole store: the cleared flags, those found set to "Yes" in place, then the rest.
std::vector<std::wstring> AfterFlags(const std::set<std::wstring>& found,
                                     const std::vector<std::wstring>& rest) {
    std::vector<std::wstring> all;
    for (const std::wstring& flag : kFlagsCleared) {
        const std::wstring group = flag.substr(0, 5);
        all.push_back(found.count(group) != 0 ? group + L"#0=Yes" : flag);
    }
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
}

TEST(ApplicationsTest, NothingInstalledStoresOnlyTheClearedFlags) {
    test::FakeMachine machine;
    Log::Instance().SetLevel(Log::kMark);
    EXPECT_EQ(Detected(), kFlagsCleared);
    EXPECT_EQ(machine.registry.OpenKeyCount(), 0u);
    const auto messages = machine.LogMessages();
    ASSERT_GE(messages.size(), 4u);
    EXPECT_EQ(std::vector<std::wstring>(messages.begin(), messages.begin() + 3),
              (std::vector<std::wstring>{L"Entering: rigel::Applications::Initialize",
                                         L"Exiting: rigel::Applications::Initialize",
                                         L"Entering: rigel::Applications::Detect"}));
    EXPECT_EQ(messages.back(), L"Exiting: rigel::Applications::Detect");
}

TEST(ApplicationsTest, AppPathsGiveTheFileVersionOfTheProgramTheyName) {
    test::FakeMachine machine;
    machine.systemInfo.environment[L"ProgramFiles"] = L"C:\\Program Files";
    machine.systemInfo.environment[L"WINDIR"] = L"C:\\Windows";
    machine.registry.SetString(kMachine, kAppPaths + L"wmplayer.exe", L"",
                               L"%ProgramFiles%\\Windows Media Player\\wmplayer.exe",
                               os::Registry::kExpandString);
    machine.fileVersions.AddFile(L"C:\\Program Files\\Windows Media Player\\wmplayer.exe", 12, 0,
                                 7601, 17514);
    // Word's entry names a file without a version resource, Reader's a damaged one.
    machine.registry.SetString(kMachine, kAppPaths + L"Winword.exe", L"", L"C:\\Office\\w.exe");
    machine.fileVersions.AddFileWithoutVersion(L"C:\\Office\\w.exe");
    machine.registry.SetString(kMachine, kAppPaths + L"AcroRd32.exe", L"", L"C:\\Reader\\a.exe");
    machine.fileVersions.AddFileWithFixedInfo(
        L"C:\\Reader\\a.exe", std::vector<std::uint8_t>(os::FileVersions::kFixedInfoSize - 1, 0));
    // QuickTime's entry holds no default value.
    machine.registry.SetString(kMachine, kAppPaths + L"QuickTimePlayer.exe", L"Path", L"C:\\QT");
    machine.fileVersions.AddFile(L"C:\\QT", 7, 7, 4, 80);
    EXPECT_EQ(Detected(), AfterFlags({L"71411"}, {L"71185#0=12.0.7601.17514"}));
    EXPECT_EQ(machine.fileVersions.sizeQueries,
              (std::vector<std::wstring>{L"C:\\Program Files\\Windows Media Player\\wmplayer.exe",
                                         L"C:\\Reader\\a.exe", L"C:\\Office\\w.exe",
                                         L"C:\\Windows\\System32\\OpenGL32.dll"}));
}

// Each version text is the four halves of the fixed file version; the installer product is
// found by its upgrade code.
TEST(ApplicationsTest, WordOpenGlAndTheInstallerProductStoreTheirVersions) {
    test::FakeMachine machine;
    machine.registry.SetString(kMachine, kAppPaths + L"Winword.exe", L"", L"C:\\w.exe");
    machine.fileVersions.AddFile(L"C:\\w.exe", 65535, 1, 0, 40000);
    machine.systemInfo.environment[L"WINDIR"] = L"C:\\Win";
    machine.fileVersions.AddFile(L"C:\\Win\\System32\\OpenGL32.dll", 6, 1, 7600, 16385);
    machine.installer.AddProduct(L"{ABCDEF01-2345-6789-ABCD-EF0123456789}", kUpgradeCode,
                                 {{L"VersionString", L"2.1.0.3"}});
    Log::Instance().SetLevel(Log::kTrace);
    EXPECT_EQ(Detected(), AfterFlags({L"71417", L"71419", L"71426"},
                                     {L"71418#0=65535.1.0.40000", L"71420#0=6.1.7600.16385",
                                      L"71427#0=2.1.0.3"}));
    const auto messages = machine.LogMessages();
    EXPECT_EQ(std::count(messages.begin(), messages.end(), L"Got it"), 1);
}

TEST(ApplicationsTest, FlashAndJavaVersionsFromTheRegistry) {
    struct Case {
        const char* what;
        std::wstring flash;  // CurrentVersion, empty: none
        std::wstring java;   // BrowserJavaVersion, empty: none
        bool javaOnlyIn64BitView;
        std::vector<std::wstring> stored;  // after the flags (Flash's set when found)
    };
    const Case cases[] = {
        {"both",
         L"11,9,900,117",
         L"1.7.0_45",
         false,
         {L"71410#0=11,9,900,117", L"71454#0=1.7.0.45"}},
        {"every underscore replaced", L"", L"1_6_0__31", false, {L"71454#0=1.6.0..31"}},
        {"java through the 64-bit view", L"", L"10.0", true, {L"71454#0=10.0"}},
        // 19 characters fit the 40-byte buffer with the terminator; 20 do not.
        {"longest flash version",
         L"11,9,900,117 (x64).",
         L"",
         false,
         {L"71410#0=11,9,900,117 (x64)."}},
        {"flash version too long", L"11,9,900,117 (x64)..", L"", false, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        if (!c.flash.empty()) {
            machine.registry.SetString(kMachine, L"SOFTWARE\\Macromedia\\FlashPlayer",
                                       L"CurrentVersion", c.flash);
        }
        if (!c.java.empty()) {
            machine.registry.SetString(kMachine, kJavaKey, L"BrowserJavaVersion", c.java);
        }
        if (c.javaOnlyIn64BitView) {
            machine.registry.FailOpen(kMachine, kJavaKey, os::Registry::kKeyRead,
                                      os::Registry::kFileNotFound);
        }
        const std::set<std::wstring> found = c.stored.empty() || c.flash.empty()
                                                 ? std::set<std::wstring>{}
                                                 : std::set<std::wstring>{L"71409"};
        EXPECT_EQ(Detected(), AfterFlags(found, c.stored));
    }
}

TEST(ApplicationsTest, AFailureEndsDetectionWithItsMessageAndKeepsWhatWasStored) {
    test::FakeMachine machine;
    machine.registry.SetString(kMachine, kAppPaths + L"wmplayer.exe", L"", L"C:\\wmp.exe");
    machine.fileVersions.AddFile(L"C:\\wmp.exe", 12, 0, 0, 1);
    machine.registry.SetString(kMachine, kJavaKey, L"BrowserJavaVersion", L"1.8.0_5");
    test::ThrowingInstaller installer;
    os::Services services = os::Current();
    services.installer = &installer;
    os::ScopedServices scope(services);
    Log::Instance().SetLevel(Log::kError);
    EXPECT_EQ(Detected(), AfterFlags({L"71411"}, {L"71185#0=12.0.0.1"}));
    EXPECT_EQ(machine.LogMessages(),
              std::vector<std::wstring>{L"Error with Applications detection."});
}

}  // namespace
}  // namespace rigel
