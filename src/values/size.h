#pragma once

#include <cstdint>
#include <string>

#include "values/value.h"

namespace rigel {

// An amount of storage or memory in bytes, printed in steps of 1024 up to terabytes ("1.5 KB").
class Size : public Value {
  public:
    Size() = default;
    explicit Size(std::uint64_t bytes) : bytes_(bytes) {}
    // Parses texts such as "512 MB", "1.5GB" or "4096"; a text without a leading number gives 0.
    explicit Size(const std::wstring& text);
    Size(const Size&) = default;
    Size& operator=(const Size&) = default;
    ~Size() override = default;

    // Replaces the byte count with the parsed text. False (and a warning) for a null text or a
    // failure while parsing; the byte count is then 0.
    bool Parse(const wchar_t* text);

    std::uint64_t GetBytes() const { return bytes_; }
    void SetBytes(std::uint64_t bytes) { bytes_ = bytes; }

    bool operator==(const Size& other) const { return bytes_ == other.bytes_; }
    bool operator<(const Size& other) const { return bytes_ < other.bytes_; }

    // The text lives in a buffer shared by every Size and is overwritten by the next call.
    const wchar_t* ToString() override;
    // Returns a heap copy that the caller owns.
    virtual Size* Clone() const;

  private:
    bool ParseText(const std::wstring& text);

    std::uint64_t bytes_ = 0;
};

}  // namespace rigel
