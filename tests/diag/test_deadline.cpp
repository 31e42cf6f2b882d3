#include <gtest/gtest.h>

#include <cstdint>

#include "diag/deadline.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

TEST(DeadlineTest, PassesWhenItsMillisecondsHaveElapsedAlsoAcrossTheTickCountsWrap) {
    const struct {
        std::uint32_t start;
        std::uint32_t now;
        std::uint32_t milliseconds;
        bool passed;
    } cases[] = {
        {100, 100, 1000, false},
        {100, 1099, 1000, false},
        {100, 1100, 1000, true},
        {100, 100, 0, true},  // no time at all is up at once
        // 256 ticks to the wrap and 231 after it: 487 elapsed.
        {0xFFFFFF00u, 0x000000E7u, 488, false},
        {0xFFFFFF00u, 0x000000E7u, 487, true},
    };
    test::FakeMachine machine;
    for (const auto& c : cases) {
        machine.clock.tickCount = c.start;
        const Deadline deadline(c.milliseconds);
        machine.clock.tickCount = c.now;
        EXPECT_EQ(deadline.Passed(), c.passed) << c.start << " to " << c.now;
        EXPECT_EQ(deadline.Milliseconds(), c.milliseconds);
    }
}

}  // namespace
}  // namespace rigel
