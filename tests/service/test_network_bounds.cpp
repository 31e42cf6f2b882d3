// Every wait on the network is bounded and every reply capped: time-outs on the handles, a time
// budget over the reading of a reply and over each speed test, and a cap on what a reply keeps.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "diag/log.h"
#include "os/fake/fake_http.h"
#include "service/download_speed_test.h"
#include "service/network_budgets.h"
#include "service/upload_speed_test.h"
#include "service/web_service.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using Option = os::FakeHttp::Option;

constexpr const wchar_t* kUrl = L"http://content/global/tests/test_2.bin";

const NetworkBudgets& Budgets() { return NetworkBudgets::Built(); }

// The three time-outs, in the order they are set, on one handle.
std::vector<Option> TimeOutsOn(os::HInternet handle) {
    return {{handle, 2, Budgets().connectTimeout},
            {handle, 5, Budgets().sendTimeout},
            {handle, 6, Budgets().receiveTimeout}};
}

std::string Pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>('a' + i % 26);
    return bytes;
}

class NetworkBoundsTest : public ::testing::Test {
  protected:
    NetworkBoundsTest() { Log::Instance().SetLevel(Log::kTrace); }

    static WebService Get() {
        WebService service;
        service.SetVerb(L"GET");
        service.SetPath(L"/list");
        return service;
    }

    // Each read of the reply takes this many milliseconds of the tick count.
    void ReadsTake(std::uint32_t milliseconds) {
        machine.http.onRead = [this, milliseconds] { machine.clock.tickCount += milliseconds; };
    }

    std::vector<std::wstring> Warnings() const {
        std::vector<std::wstring> warnings;
        for (const std::wstring& line : machine.LogLines()) {
            const std::size_t bar = line.find(L"WARN  | ");
            if (bar != std::wstring::npos) warnings.push_back(line.substr(bar + 8));
        }
        return warnings;
    }

    test::FakeMachine machine;
};

TEST_F(NetworkBoundsTest, EveryRequestHandleGetsTheThreeTimeOutsBeforeItIsSent) {
    machine.http.onSend = [this] {
        // Already set when the request goes out.
        EXPECT_EQ(machine.http.Last().options, TimeOutsOn(machine.http.Last().request));
    };
    WebService service = Get();
    EXPECT_TRUE(service.Call());
    EXPECT_EQ(machine.http.Last().options, TimeOutsOn(machine.http.Last().request));
    EXPECT_TRUE(Warnings().empty());
}

TEST_F(NetworkBoundsTest, ATimeOutTheHandleRefusesIsLoggedAndTheRequestGoesOn) {
    machine.http.failingOptions = {5};
    machine.http.response.body = "answer";
    WebService service = Get();
    EXPECT_TRUE(service.Call());
    EXPECT_EQ(service.GetResult(), L"answer");
    const os::HInternet request = machine.http.Last().request;
    EXPECT_EQ(machine.http.Last().options,
              (std::vector<Option>{{request, 2, Budgets().connectTimeout},
                                   {request, 6, Budgets().receiveTimeout}}));
    EXPECT_EQ(Warnings(),
              std::vector<std::wstring>{L"Can't set Internet time-out 5. Error: 12009"});
}

// A reply larger than the cap counts as broken off there: the call succeeds with the first bytes.
TEST_F(NetworkBoundsTest, AReplyIsReadUpToTheCapAndNoFurther) {
    const std::size_t cap = Budgets().replyCap;
    const std::string body = Pattern(cap + 4321);
    machine.http.response.body = body;
    WebService service = Get();
    EXPECT_TRUE(service.Call());

    const std::string kept = body.substr(0, cap);
    EXPECT_EQ(service.GetResult(), std::wstring(kept.begin(), kept.end()));
    EXPECT_EQ(service.GetBytesReceived(), 2 * cap);
    const std::vector<std::uint32_t>& sizes = machine.http.Last().readSizes;
    std::uint64_t asked = 0;
    for (std::uint32_t size : sizes) asked += size;
    EXPECT_EQ(asked, cap) << "the last read asks only for what the cap leaves";
    EXPECT_EQ(sizes.front(), std::min<std::size_t>(cap, 2000));
    EXPECT_EQ(Warnings(), std::vector<std::wstring>{L"Reply cut at the cap of " +
                                                    std::to_wstring(cap) + L" bytes."});
    EXPECT_EQ(machine.http.OpenHandles(), 0u);
}

// The budget runs from the start of the request: a slow send leaves less of it for the reply, and
// a server that trickles the reply is cut off however steadily it sends.
TEST_F(NetworkBoundsTest, AReplyStillArrivingWhenTheRequestsBudgetIsSpentIsCutThere) {
    const std::uint32_t budget = Budgets().requestBudget;
    const struct {
        const char* what;
        std::uint32_t startTick;
        std::uint32_t sendTakes;
        std::uint32_t readTakes;
        std::size_t kept;
        std::size_t reads;
    } cases[] = {
        {"two reads fill the budget", 5, 0, budget / 2, 4000, 2},
        {"the send used it up", 5, budget, 1, 0, 0},
        {"the send left one read", 5, budget - 1, 1, 2000, 1},
        {"across the tick count's wrap", 0xFFFFFFFFu - budget / 3, 0, budget / 2, 4000, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine fresh;
        Log::Instance().SetLevel(Log::kTrace);
        fresh.clock.tickCount = c.startTick;
        fresh.http.response.body = Pattern(10000);
        fresh.http.onSend = [&fresh, &c] { fresh.clock.tickCount += c.sendTakes; };
        fresh.http.onRead = [&fresh, &c] { fresh.clock.tickCount += c.readTakes; };
        WebService service = Get();
        EXPECT_TRUE(service.Call());
        const std::string kept = Pattern(c.kept);
        EXPECT_EQ(service.GetResult(), std::wstring(kept.begin(), kept.end()));
        EXPECT_EQ(fresh.http.Last().readSizes.size(), c.reads);
        EXPECT_NE(fresh.debugOutput.Text().find(L"WARN  | Reply cut at the time budget of " +
                                                std::to_wstring(budget) + L" ms.\n"),
                  std::wstring::npos);
        EXPECT_EQ(fresh.http.OpenHandles(), 0u);
    }
}

TEST_F(NetworkBoundsTest, TheDownloadTestsSessionAndUrlHandlesGetTheTimeOuts) {
    machine.clock.performanceCounter = 1000;
    machine.clock.performanceCounterStep = 10'000;
    machine.http.response.body = Pattern(12000);
    EXPECT_FALSE(DownloadSpeedTest::Run(kUrl).empty());
    const os::FakeHttp::Exchange& sent = machine.http.Last();
    std::vector<Option> expected = TimeOutsOn(sent.session);
    for (const Option& option : TimeOutsOn(sent.urlRequest)) expected.push_back(option);
    EXPECT_EQ(sent.options, expected);
    EXPECT_TRUE(Warnings().empty());
}

// On a slow or endless download the bytes that arrived in the test's time give the rate.
TEST_F(NetworkBoundsTest, TheDownloadTestStopsAtItsBudgetWithTheRateOfWhatArrived) {
    machine.clock.performanceFrequency = 1000;
    machine.clock.performanceCounterStep = 0;
    machine.clock.performanceCounter = 7000;
    machine.http.response.body = Pattern(1'000'000);
    machine.http.onRead = [this] {
        machine.clock.tickCount += Budgets().speedTestBudget / 4;
        machine.clock.performanceCounter += 250;
    };
    // Four reads of 5000 bytes in one second.
    EXPECT_EQ(DownloadSpeedTest::Run(kUrl), L"160000 bps");
    EXPECT_EQ(machine.http.Last().readSizes.size(), 4u);
    EXPECT_EQ(Warnings(),
              std::vector<std::wstring>{L"Download test stopped at its time budget of " +
                                        std::to_wstring(Budgets().speedTestBudget) + L" ms."});
    EXPECT_EQ(machine.http.OpenHandles(), 0u);
}

TEST_F(NetworkBoundsTest, TheUploadTestSkipsItsSecondPostWhenTheFirstUsedUpItsBudget) {
    machine.clock.performanceFrequency = 1000;
    machine.clock.performanceCounterStep = 0;
    machine.clock.performanceCounter = 7000;
    machine.http.onSend = [this] {
        machine.clock.performanceCounter += 100;
        machine.clock.tickCount += Budgets().speedTestBudget;
    };
    // 10067 bytes in 100 ms, with no second post to take a fixed cost out.
    EXPECT_EQ(UploadSpeedTest::Run(), L"805360 bps");
    ASSERT_EQ(machine.http.exchanges.size(), 1u);
    EXPECT_EQ(machine.http.Last().body, std::string(10000, 'x'));
    EXPECT_EQ(
        machine.LogMessages(),
        (std::vector<std::wstring>{L"About to do upload speed.", L"Result: ",
                                   L"Successfully sent data.", L"Done upload speed.",
                                   L"Upload test stopped at its time budget of " +
                                       std::to_wstring(Budgets().speedTestBudget) + L" ms."}));
}

}  // namespace
}  // namespace rigel
