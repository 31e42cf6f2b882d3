#include <gtest/gtest.h>

#include <cstdint>

#include "detect/platform/system_information.h"
#include "diag/log.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

class SystemInformationTest : public ::testing::Test {
  protected:
    test::FakeMachine machine;
    SystemInformation system;
};

TEST_F(SystemInformationTest, ClockSpeedIsTimeStampCountsPerCounterSecond) {
    struct Case {
        const char* what;
        std::int64_t frequency;
        std::uint64_t start;
        std::uint64_t stop;
        std::uint32_t megahertz;
    };
    const Case cases[] = {
        {"exact", 10'000'000, 1'000, 3'401'001'000, 3401},
        {"truncated", 10'000'000, 0, 2'399'999'000, 2399},
        // Single precision rounds 3,400,999,999 up to 3,401,000,000.
        {"single precision", 3'579'545, 0, 3'400'999'999, 3401},
        // After days of uptime each reading keeps only 24 bits: 3400 MHz reads as 3397.
        {"long uptime", 10'000'000, 100'000'000'000'000, 100'003'400'000'000, 3397},
        {"counter went back", 10'000'000, 5'000'000'000, 1'000, 0},
        {"below one megahertz", 10'000'000, 0, 999'999, 0},
        {"no counter", 0, 0, 3'000'000'000, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        machine.clock.performanceFrequency = c.frequency;
        machine.clock.performanceCounter = 123;
        machine.clock.performanceCounterStep = 1'000'000;
        machine.cpu.timeStamps = {c.start, c.stop};
        machine.cpu.timeStampReads = 0;
        EXPECT_EQ(system.MeasureClockMhz(), c.megahertz);
    }
}

TEST_F(SystemInformationTest, WaitsOneWholeCounterSecondBetweenTheTwoReadings) {
    machine.clock.performanceFrequency = 10'000'000;
    machine.clock.performanceCounter = 500;
    machine.clock.performanceCounterStep = 3'000'000;
    machine.cpu.timeStamps = {0, 2'000'000'000};
    system.MeasureClockMhz();
    // 500 sets the target 10,000,500; the wait reads 3,000,500, 6,000,500 and 9,000,500 and
    // stops at 12,000,500: five readings in all.
    EXPECT_EQ(machine.clock.performanceCounter, 500 + 5 * 3'000'000);
    EXPECT_EQ(machine.cpu.timeStampReads, 2u);
}

TEST_F(SystemInformationTest, ProcessorCountAndMeasuredSpeed) {
    struct Case {
        std::uint32_t processors;
        const wchar_t* count;
        bool multi;
    };
    const Case cases[] = {{1, L"1", false}, {8, L"8", true}, {0, L"0", false}};
    for (const auto& c : cases) {
        machine.systemInfo.systemInfo.numberOfProcessors = c.processors;
        machine.systemInfo.nativeSystemInfo.numberOfProcessors = 99;
        machine.clock.performanceCounterStep = machine.clock.performanceFrequency;
        machine.cpu.timeStamps = {0, 2'400'000'000};
        machine.cpu.timeStampReads = 0;
        CpuInfo info;
        EXPECT_TRUE(system.GetSystemCpuInfo(info));
        EXPECT_EQ(info.processorCount, c.count);
        EXPECT_EQ(info.multiProcessor, c.multi);
        EXPECT_EQ(info.speed.GetHertz(), 2'400'000'000u);
    }
}

}  // namespace
}  // namespace rigel
