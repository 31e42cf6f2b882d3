#pragma once

#include <cstdint>

namespace rigel {

// The safety options of IObjectSafety: the control is safe for untrusted callers (scripting) and
// untrusted data (initialisation), and a container may switch either option on or off.
class SafetyOptions {
  public:
    static constexpr std::uint32_t kForUntrustedCaller = 1;
    static constexpr std::uint32_t kForUntrustedData = 2;
    static constexpr std::uint32_t kSupported = kForUntrustedCaller | kForUntrustedData;

    // What a container is told. A control that its site lock keeps inactive (not permitted)
    // supports no option and has none enabled, so that the container treats it as unsafe.
    static std::uint32_t Supported(bool permitted) { return permitted ? kSupported : 0; }
    std::uint32_t Enabled(bool permitted) const { return permitted ? enabled_ : 0; }

    // Sets the bits of mask to their state in enabled. False, with nothing changed, when mask
    // holds an option that the control does not support, or when an option is to be switched on
    // while the control is not permitted.
    bool Set(std::uint32_t mask, std::uint32_t enabled, bool permitted);

  private:
    std::uint32_t enabled_ = 0;
};

}  // namespace rigel
