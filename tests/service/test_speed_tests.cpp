#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "diag/log.h"
#include "service/download_speed_test.h"
#include "service/upload_speed_test.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

constexpr const wchar_t* kUrl = L"http://content/global/tests/test_2.bin";
constexpr std::int64_t kStart = 5000;

class SpeedTestsTest : public ::testing::Test {
  protected:
    SpeedTestsTest() {
        // One counter tick per millisecond.
        machine_.clock.performanceFrequency = 1000;
        machine_.clock.performanceCounterStep = 0;  // the test moves the counter itself
        machine_.clock.performanceCounter = kStart;
    }

    // The whole download takes this long, all of it in the first read.
    void DownloadTakes(std::int64_t milliseconds) {
        machine_.http.onRead = [this, milliseconds, first = true]() mutable {
            if (first) machine_.clock.performanceCounter += milliseconds;
            first = false;
        };
    }

    // The sends take these times, one after the other.
    void SendsTake(std::vector<std::int64_t> milliseconds) {
        machine_.http.onSend = [this, milliseconds, send = std::size_t{0}]() mutable {
            machine_.clock.performanceCounter += milliseconds.at(send++);
        };
    }

    test::FakeMachine machine_;
};

TEST_F(SpeedTestsTest, DownloadCountsTheFileInPiecesOf5000BytesAndTimesIt) {
    Log::Instance().SetLevel(Log::kTrace);
    machine_.http.responses[kUrl].body = std::string(1048576, 'd');
    DownloadTakes(1000);

    EXPECT_EQ(DownloadSpeedTest::Run(kUrl), L"8388608 bps");

    const os::FakeHttp::Exchange& sent = machine_.http.Last();
    EXPECT_EQ(sent.agent, L"RIGEL");
    EXPECT_EQ(sent.accessType, 0u);
    EXPECT_EQ(sent.proxy, std::nullopt);
    EXPECT_EQ(sent.url, kUrl);
    EXPECT_EQ(sent.urlHeaders, std::nullopt);
    EXPECT_EQ(sent.urlFlags, 0x84000100u);
    ASSERT_EQ(sent.readSizes.size(), 211u);  // 209 full pieces, the rest, the end
    EXPECT_EQ(sent.readSizes[0], 5000u);
    EXPECT_EQ(sent.readSizes[209], 3576u);
    EXPECT_EQ(sent.readSizes[210], 0u);
    // The file before the session.
    EXPECT_EQ(machine_.http.closed, (std::vector<os::HInternet>{sent.urlRequest, sent.session}));
    EXPECT_EQ(machine_.LogMessages(), std::vector<std::wstring>{L"downloadRate = 8388608 bps"});
}

TEST_F(SpeedTestsTest, DownloadThatDoesNotCompleteGivesNoText) {
    // Each case spoils one thing of a download that otherwise takes 10 ms a counter reading.
    const struct {
        const char* what;
        void (*spoil)(test::FakeMachine&);
    } cases[] = {
        {"no session",
         [](test::FakeMachine& m) { m.http.failAt = os::FakeHttp::Step::kOpenSession; }},
        {"no URL", [](test::FakeMachine& m) { m.http.failAt = os::FakeHttp::Step::kOpenUrl; }},
        {"broken transfer", [](test::FakeMachine& m) { m.http.failReadAfter = 1; }},
        {"no counter frequency", [](test::FakeMachine& m) { m.clock.performanceFrequency = 0; }},
        {"counter not started", [](test::FakeMachine& m) { m.clock.performanceCounter = 0; }},
        {"counter not moving", [](test::FakeMachine& m) { m.clock.performanceCounterStep = 0; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        machine.http.response.body = std::string(12000, 'd');
        machine.clock.performanceFrequency = 1000;
        machine.clock.performanceCounter = kStart;
        machine.clock.performanceCounterStep = 10;
        c.spoil(machine);
        EXPECT_EQ(DownloadSpeedTest::Run(kUrl), L"");
        EXPECT_EQ(machine.http.OpenHandles(), 0u);
        EXPECT_TRUE(machine.http.misuse.empty());
    }
}

TEST_F(SpeedTestsTest, DownloadRateOfTheMeasuredTime) {
    const struct {
        std::uint64_t bytes;
        std::uint64_t milliseconds;
        std::uint64_t rate;
    } cases[] = {
        {1048576, 1000, 8388608},
        {1000, 3, 2666666},  // truncated
        {0, 250, 0},
        // Under a millisecond counts as one: the lowest rate the measurement allows.
        {1000, 0, 8000000},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(DownloadSpeedTest::Rate(c.bytes, c.milliseconds), c.rate)
            << c.bytes << " bytes in " << c.milliseconds << " ms";
    }
    machine_.http.response.body = std::string(1000, 'd');
    machine_.clock.performanceFrequency = 10'000'000;
    machine_.clock.performanceCounterStep = 5000;  // half a millisecond
    EXPECT_EQ(DownloadSpeedTest::Run(kUrl), L"8000000 bps");
}

TEST_F(SpeedTestsTest, UploadCostAndRateFromTwoSamples) {
    using Sample = UploadSpeedTest::Sample;
    const struct {
        const char* what;
        Sample small, large;
        std::uint64_t cost, rate;
    } cases[] = {
        {"cost taken out", {100, 10067}, {300, 50067}, 50, 1602144},
        {"second not slower", {300, 10067}, {300, 50067}, 0, 1335120},
        {"second faster", {300, 10067}, {200, 50067}, 0, 2002680},
        {"second not larger", {100, 50067}, {300, 50067}, 0, 1335120},
        // The line meets zero bytes before time zero: no cost, rather than a wrapped one.
        {"second far slower", {100, 10067}, {1000, 50067}, 0, 400536},
        {"both instant", {0, 10067}, {0, 50067}, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::uint64_t cost = UploadSpeedTest::FixedCost(c.small, c.large);
        EXPECT_EQ(cost, c.cost);
        EXPECT_EQ(UploadSpeedTest::Rate(c.large, cost), c.rate);
    }
}

TEST_F(SpeedTestsTest, UploadPostsTwoBodiesOfXAndTakesOutTheFixedCost) {
    Log::Instance().SetLevel(Log::kTrace);
    SendsTake({100, 300});

    EXPECT_EQ(UploadSpeedTest::Run(), L"1602144 bps");

    ASSERT_EQ(machine_.http.exchanges.size(), 2u);
    const std::wstring path =
        L"/Data/Service.svc/upload?apikey=5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5";
    EXPECT_EQ(machine_.http.exchanges[0].objectName, path);
    EXPECT_EQ(machine_.http.exchanges[0].body, std::string(10000, 'x'));
    EXPECT_EQ(machine_.http.exchanges[1].objectName, path);
    EXPECT_EQ(machine_.http.exchanges[1].body, std::string(50000, 'x'));
    EXPECT_EQ(machine_.LogMessages(),
              (std::vector<std::wstring>{
                  L"About to do upload speed.", L"Result: ", L"Successfully sent data.",
                  L"Done upload speed.", L"About to do upload speed 2.", L"do upload speed 2.",
                  L"Result: ", L"Successfully sent data.", L"Cost is : 50"}));
}

}  // namespace
}  // namespace rigel
