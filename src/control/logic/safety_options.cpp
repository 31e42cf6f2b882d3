#include "control/logic/safety_options.h"

namespace rigel {

bool SafetyOptions::Set(std::uint32_t mask, std::uint32_t enabled, bool permitted) {
    if ((mask & ~kSupported) != 0) return false;
    if (!permitted && (mask & enabled) != 0) return false;
    enabled_ = (enabled_ & ~mask) | (enabled & mask);
    return true;
}

}  // namespace rigel
