#pragma once

#include <cstdint>

#include "values/value.h"

namespace rigel {

// A clock frequency in hertz, printed in steps of 1000 up to gigahertz ("2.4 GHz").
class Speed : public Value {
  public:
    Speed() = default;
    Speed(const Speed&) = default;
    Speed& operator=(const Speed&) = default;
    ~Speed() override = default;

    // Parses texts such as "2.4 GHz", "3200 MHz" or "800"; a null text gives 0 Hz. Never throws.
    Speed& operator=(const wchar_t* text);

    std::uint64_t GetHertz() const { return hertz_; }
    bool IsValid() const { return hertz_ != 0; }

    // The text lives in a buffer shared by every Speed and is overwritten by the next call.
    const wchar_t* ToString() override;
    // Returns a heap copy that the caller owns.
    virtual Speed* Clone() const;

  private:
    void Parse(const wchar_t* text);

    std::uint64_t hertz_ = 0;
};

}  // namespace rigel
