#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/system.h"
#include "detect/platform/browser.h"
#include "detect/stored_values.h"
#include "diag/log.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

constexpr os::HKey kMachine = os::Registry::kLocalMachine;
const std::wstring kExplorerKey = L"SOFTWARE\\Microsoft\\Internet Explorer";
const std::wstring kFirefoxKey = L"SOFTWARE\\Mozilla\\Mozilla Firefox";
const std::wstring kSafariKey = L"SOFTWARE\\Apple Computer, Inc.\\Safari";
using test::Stored;

const std::vector<std::wstring> kFlagsCleared = {L"71407#0=No", L"71408#0=No", L"71409#0=No",
                                                 L"71448#0=No", L"71449#0=No", L"71450#0=No",
                                                 L"71451#0=No"};

// The flags stored first, Firefox's and Internet Explorer's replaced in place when installed,
// followed by the rest.
std::vector<std::wstring> AfterFlags(bool firefox, bool explorer,
                                     const std::vector<std::wstring>& rest) {
    std::vector<std::wstring> all = kFlagsCleared;
    if (firefox) all[0] = L"71407#0=Yes";
    if (explorer) all[1] = L"71408#0=Yes";
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
}

void InstallAll(os::FakeRegistry& registry) {
    registry.SetString(kMachine, kExplorerKey, L"Version", L"9.0.8112.16421");
    registry.SetString(kMachine, kFirefoxKey, L"CurrentVersion", L"17.0.1 (en-US)");
    registry.SetString(kMachine, kSafariKey, L"Version", L"5.34.57.2");
}

TEST(BrowserTest, InstalledBrowsersTakeConsecutiveIndexesAndWithoutAUserAgentNoneIsInUse) {
    struct Case {
        const char* what;
        bool explorer;
        const wchar_t* firefox;  // null: not installed
        bool safari;
        std::vector<std::wstring> expected;
    };
    const Case cases[] = {
        {"none", false, nullptr, false, kFlagsCleared},
        {"Firefox alone at index 0", false, L"17.0.1 (en-US)", false,
         AfterFlags(true, false,
                    {L"71195#0=17.0.1 (en-US)", L"71353#0=Firefox", L"71352#0=17.0.1 (en-US)"})},
        {"all three", true, L"17.0.1 (en-US)", true,
         AfterFlags(
             true, true,
             {L"71180#0=9.0.8112.16421", L"71353#0=Internet Explorer", L"71352#0=9.0.8112.16421",
              L"71195#0=17.0.1 (en-US)", L"71353#1=Firefox", L"71352#1=17.0.1 (en-US)",
              L"71456#0=Yes", L"71457#0=5.34.57.2", L"71353#2=Safari", L"71352#2=5.34.57.2"})},
        // 19 characters and the terminator fill the 40-byte buffer; one more does not fit.
        {"longest version that fits", false, L"17.0.1 (x86 en-USA)", false,
         AfterFlags(
             true, false,
             {L"71195#0=17.0.1 (x86 en-USA)", L"71353#0=Firefox", L"71352#0=17.0.1 (x86 en-USA)"})},
        {"version too long", false, L"17.0.1 (x86 en-USAA)", false, kFlagsCleared},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        if (c.explorer) {
            machine.registry.SetString(kMachine, kExplorerKey, L"Version", L"9.0.8112.16421");
        }
        if (c.firefox != nullptr) {
            machine.registry.SetString(kMachine, kFirefoxKey, L"CurrentVersion", c.firefox);
        }
        if (c.safari) machine.registry.SetString(kMachine, kSafariKey, L"Version", L"5.34.57.2");
        Log::Instance().SetLevel(Log::kMark);

        Browser browser;
        EXPECT_TRUE(browser.Detect());
        EXPECT_EQ(Stored(), c.expected);
        EXPECT_EQ(machine.registry.OpenKeyCount(), 0u);
        const auto messages = machine.LogMessages();
        ASSERT_FALSE(messages.empty());
        EXPECT_EQ(messages.front(), L"Entering: rigel::Browser::Detect");
        EXPECT_EQ(messages.back(), L"Exiting: rigel::Browser::Detect");
    }
}

TEST(BrowserTest, BrowserInUseFromTheFirstTokenOfTheUserAgent) {
    struct Case {
        const char* what;
        std::wstring userAgent;
        std::uint32_t flag;                  // the in-use flag set to "Yes", 0 for none
        std::vector<std::wstring> appended;  // after the installed browsers' values
    };
    const Case cases[] = {
        {"Chrome also names Safari",
         L"Mozilla/5.0 (Windows NT 6.1; WOW64) AppleWebKit/537.36 (KHTML, like Gecko) "
         L"Chrome/31.0.1650.57 Safari/537.36",
         71449,
         {L"71447#0=Chrome", L"71460#0="}},
        {"Internet Explorer",
         L"Mozilla/4.0 (compatible; MSIE 8.0; Windows NT 6.1; Trident/4.0)",
         71448,
         {L"71447#0=Internet Explorer", L"71460#0=9.0.8112.16421"}},
        {"Opera, whose flag is not stored first",
         L"Opera/9.80 (Windows NT 6.1) Presto/2.12.388 Version/12.16",
         71455,
         {L"71447#0=Opera", L"71455#0=Yes", L"71460#0="}},
        {"Safari",
         L"Mozilla/5.0 (Windows NT 6.1) AppleWebKit/534.57.2 (KHTML, like Gecko) Version/5.1.7 "
         L"Safari/534.57.2",
         71450,
         {L"71447#0=Safari", L"71460#0=5.34.57.2"}},
        {"Firefox in capitals",
         L"Mozilla/5.0 (Windows NT 6.1; rv:17.0) Gecko/20100101 FIREFOX/17.0",
         71451,
         {L"71447#0=Firefox", L"71460#0=17.0.1 (en-US)"}},
        {"Trident without MSIE",
         L"Mozilla/5.0 (Windows NT 6.3; Trident/7.0; rv:11.0) like Gecko",
         0,
         {}},
    };
    // The user agent, the flags stored first and the ten values of the installed browsers.
    constexpr std::ptrdiff_t kBefore = 1 + 7 + 10;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        InstallAll(machine.registry);
        SystemValues& store = System::Instance().GetSystemValues();
        store.AddValue(71446, c.userAgent);

        Browser browser;
        browser.Detect();
        const std::vector<std::wstring> stored = Stored();
        ASSERT_EQ(stored.size(), static_cast<std::size_t>(kBefore) + c.appended.size());
        EXPECT_EQ(std::vector<std::wstring>(stored.begin() + kBefore, stored.end()), c.appended);
        for (std::uint32_t flag : {71448u, 71449u, 71450u, 71451u}) {
            SystemValue found(SystemValueID(GroupID(flag), 0), std::wstring());
            ASSERT_TRUE(store.TryGetValue(found.id, found));
            EXPECT_EQ(found.text, flag == c.flag ? L"Yes" : L"No") << flag;
        }
    }
}

TEST(BrowserTest, BrowserInUseThatIsNotInstalledHasAnEmptyVersion) {
    test::FakeMachine machine;
    System::Instance().GetSystemValues().AddValue(71446, L"Mozilla/4.0 (compatible; MSIE 7.0)");
    Browser browser;
    browser.Detect();
    EXPECT_EQ(Stored(),
              (std::vector<std::wstring>{
                  L"71446#0=Mozilla/4.0 (compatible; MSIE 7.0)", L"71407#0=No", L"71408#0=No",
                  L"71409#0=No", L"71448#0=Yes", L"71449#0=No", L"71450#0=No", L"71451#0=No",
                  L"71447#0=Internet Explorer", L"71460#0="}));
}

}  // namespace
}  // namespace rigel
