#pragma once

#include "os/clock.h"

namespace rigel::os {

class Win32Clock : public Clock {
  public:
    std::uint32_t TickCount() override;
    std::int64_t PerformanceCounter() override;
    std::int64_t PerformanceFrequency() override;
    TimeOfDay LocalTime() override;
    std::int64_t UnixTime() override;
};

}  // namespace rigel::os
