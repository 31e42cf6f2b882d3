#include "diag/deadline.h"

#include "os/clock.h"
#include "os/services.h"

namespace rigel {

Deadline::Deadline(std::uint32_t milliseconds)
    : start_(os::Current().clock->TickCount()), milliseconds_(milliseconds) {}

bool Deadline::Passed() const {
    const std::uint32_t elapsed = os::Current().clock->TickCount() - start_;
    return elapsed >= milliseconds_;
}

}  // namespace rigel
