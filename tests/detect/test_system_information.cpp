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

// The counter starts at 123 and moves 1,000,000 a reading: the first reading sets the target a
// counter second on, the wait reads until it is reached or passed, and the time-stamp counter is
// read once on each side of the wait.
TEST_F(SystemInformationTest, ClockSpeedIsTimeStampCountsPerCounterSecond) {
    struct Case {
        const char* what;
        std::int64_t frequency;
        std::uint64_t start;
        std::uint64_t stop;
        std::uint32_t megahertz;
        int counterReadings;
    };
    const Case cases[] = {
        {"exact", 10'000'000, 1'000, 3'401'001'000, 3401, 11},
        {"truncated", 10'000'000, 0, 2'399'999'000, 2399, 11},
        // Single precision rounds 3,400,999,999 up to 3,401,000,000; the target 3,579,668 is
        // passed at the fifth reading.
        {"single precision", 3'579'545, 0, 3'400'999'999, 3401, 5},
        // After days of uptime each reading keeps only 24 bits: 3400 MHz reads as 3397.
        {"long uptime", 10'000'000, 100'000'000'000'000, 100'003'400'000'000, 3397, 11},
        {"counter went back", 10'000'000, 5'000'000'000, 1'000, 0, 11},
        {"below one megahertz", 10'000'000, 0, 999'999, 0, 11},
        {"counter jumped", 10'000'000, 0, UINT64_MAX, UINT32_MAX, 11},
        {"no counter", 0, 0, 3'000'000'000, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        machine.clock.performanceFrequency = c.frequency;
        machine.clock.performanceCounter = 123;
        machine.clock.performanceCounterStep = 1'000'000;
        machine.cpu.timeStamps = {c.start, c.stop};
        machine.cpu.timeStampReads = 0;
        EXPECT_EQ(system.MeasureClockMhz(), c.megahertz);
        EXPECT_EQ(machine.clock.performanceCounter, 123 + c.counterReadings * 1'000'000);
        EXPECT_EQ(machine.cpu.timeStampReads, c.counterReadings == 0 ? 0u : 2u);
    }
}

// The count reads no clock; the speed is the measured one, in megahertz.
TEST_F(SystemInformationTest, ProcessorCountWithoutTheClockAndTheMeasuredSpeed) {
    struct Case {
        std::uint32_t processors;
        const wchar_t* count;
        bool multi;
    };
    const Case cases[] = {{1, L"1", false}, {8, L"8", true}, {0, L"0", false}};
    for (const auto& c : cases) {
        machine.systemInfo.systemInfo.numberOfProcessors = c.processors;
        machine.systemInfo.nativeSystemInfo.numberOfProcessors = 99;
        machine.clock.performanceCounterReads = 0;
        machine.cpu.timeStampReads = 0;
        CpuInfo info;
        EXPECT_TRUE(system.GetSystemCpuInfo(info));
        EXPECT_EQ(info.processorCount, c.count);
        EXPECT_EQ(info.multiProcessor, c.multi);
        EXPECT_FALSE(info.speed.IsValid());
        EXPECT_EQ(machine.clock.performanceCounterReads, 0);
        EXPECT_EQ(machine.cpu.timeStampReads, 0u);
    }

    machine.clock.performanceCounterStep = machine.clock.performanceFrequency;
    machine.cpu.timeStamps = {0, 2'400'000'000};
    CpuInfo info;
    system.GetMeasuredSpeed(info);
    EXPECT_EQ(info.speed.GetHertz(), 2'400'000'000u);
    EXPECT_EQ(info.processorCount, L"");
}

}  // namespace
}  // namespace rigel
