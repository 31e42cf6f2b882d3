#pragma once

#include <cstdint>

namespace rigel::os {

// Wall-clock time of day as the C runtime's _wstrtime_s reports it.
struct TimeOfDay {
    int hour = 0;
    int minute = 0;
    int second = 0;
};

// Clocks and counters of the machine: GetTickCount, the performance counter, the local time and
// the C runtime's time().
class Clock {
  public:
    virtual ~Clock() = default;
    virtual std::uint32_t TickCount() = 0;
    virtual std::int64_t PerformanceCounter() = 0;
    virtual std::int64_t PerformanceFrequency() = 0;
    virtual TimeOfDay LocalTime() = 0;
    // Seconds since 1970-01-01 UTC.
    virtual std::int64_t UnixTime() = 0;
};

}  // namespace rigel::os
