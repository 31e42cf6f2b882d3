#include <gtest/gtest.h>

#include "diag/timer.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

struct TimerCase {
    std::int64_t start;
    std::int64_t stop;
    std::int64_t frequency;
    std::int64_t expected;
};

TEST(TimerTest, ElapsedMillisecondsTruncatesGuardsBadReadingsAndNeedsAStop) {
    const TimerCase cases[] = {
        {10'000'000, 25'000'000, 10'000'000, 1500},  // 1.5 s at 10 MHz
        {1, 10'000, 3'000'000, 3},                   // 3.333 ms truncated toward zero
        {5, 5, 1000, 0},                             // equal readings
        {9, 5, 1000, 0},                             // stop before start
        {0, 5000, 1000, 0},                          // start never taken
        {1, 5000, 0, 0},                             // no counter
        {1, 1'000'000'001, 1'000'000'000, 1000},     // large counts do not overflow
    };
    for (const auto& c : cases) {
        test::FakeMachine machine;
        machine.clock.performanceFrequency = c.frequency;
        Timer timer;
        machine.clock.performanceCounter = c.start;
        timer.Start();
        machine.clock.performanceCounter = c.stop;
        EXPECT_EQ(timer.ElapsedMilliseconds(), 0) << "not stopped yet";
        timer.Stop();
        EXPECT_EQ(timer.ElapsedMilliseconds(), c.expected) << c.start << ".." << c.stop;
    }
}

}  // namespace
}  // namespace rigel
