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

    std::uint32_t Enabled() const { return enabled_; }

    // Sets the bits of mask to their state in enabled. False, with nothing changed, when mask
    // holds an option that the control does not support.
    bool Set(std::uint32_t mask, std::uint32_t enabled);

  private:
    std::uint32_t enabled_ = 0;
};

}  // namespace rigel
