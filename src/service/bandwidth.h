#pragma once

#include <cstdint>
#include <string>

#include "values/value.h"

namespace rigel {

// A network rate in bits per second, printed in steps of 1024 up to gigabits ("1.5 Mbps").
class Bandwidth : public Value {
  public:
    // Parses texts such as "8388608 bps" or "2.5 Mbps"; a text without a number gives 0. Never
    // throws.
    explicit Bandwidth(const std::wstring& text);
    Bandwidth(const Bandwidth&) = default;
    Bandwidth& operator=(const Bandwidth&) = default;
    ~Bandwidth() override = default;

    std::uint64_t GetBitsPerSecond() const { return bitsPerSecond_; }

    // The text lives in a buffer shared by every Bandwidth and is overwritten by the next call.
    const wchar_t* ToString() override;
    // Returns a heap copy that the caller owns.
    virtual Bandwidth* Clone() const;

  private:
    void Parse(const std::wstring& text);

    std::uint64_t bitsPerSecond_ = 0;
};

}  // namespace rigel
