#pragma once

#include <cstdint>

#include "os/clock.h"

namespace rigel::os {

// A clock whose readings a test sets directly.
class FakeClock : public Clock {
  public:
    std::uint32_t tickCount = 0;
    std::int64_t performanceCounter = 0;
    // Added after every reading of the counter, so that a wait on the counter ends at once.
    std::int64_t performanceCounterStep = 0;
    int performanceCounterReads = 0;
    std::int64_t performanceFrequency = 10'000'000;
    TimeOfDay localTime{};
    std::int64_t unixTime = 0;

    std::uint32_t TickCount() override { return tickCount; }
    std::int64_t PerformanceCounter() override {
        const std::int64_t reading = performanceCounter;
        performanceCounter += performanceCounterStep;
        ++performanceCounterReads;
        return reading;
    }
    std::int64_t PerformanceFrequency() override { return performanceFrequency; }
    TimeOfDay LocalTime() override { return localTime; }
    std::int64_t UnixTime() override { return unixTime; }
};

}  // namespace rigel::os
