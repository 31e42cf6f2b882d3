#include "diag/timer.h"

#include "os/clock.h"
#include "os/services.h"

namespace rigel {

void Timer::Start() { start_ = os::Current().clock->PerformanceCounter(); }

void Timer::Stop() { stop_ = os::Current().clock->PerformanceCounter(); }

std::int64_t Timer::ElapsedMilliseconds() const {
    const std::int64_t frequency = os::Current().clock->PerformanceFrequency();
    if (frequency < 1 || start_ < 1 || stop_ <= start_) return 0;
    return (stop_ - start_) * 1000 / frequency;
}

}  // namespace rigel
