#pragma once

#include <cstdint>
#include <string>

#include "values/value.h"

namespace rigel {

// A version text, reported exactly as it was read and ordered by a 64-bit key derived from it.
class Version : public Value {
  public:
    // The text "0.0".
    Version();
    explicit Version(std::wstring text);
    // A null pointer gives the empty text.
    explicit Version(const wchar_t* text);
    // The text is the number in decimal.
    explicit Version(std::uint64_t number);
    Version(const Version&) = default;
    Version& operator=(const Version&) = default;
    ~Version() override = default;

    // A null pointer gives the empty text.
    Version& operator=(const wchar_t* text);

    bool IsValid() const { return !text_.empty(); }

    // The ordering key: up to four components of 16 bits each, the first at the top, plus the
    // code of a final letter A-Z. A lone component lands in bits 32-47, so "10" < "2.0". A
    // component that is not a decimal number ends the key where it stood (and logs an error).
    std::uint64_t Quantity() const;

    // Versions compare by key only, never as texts.
    bool operator==(const Version& other) const { return Quantity() == other.Quantity(); }
    bool operator<(const Version& other) const { return Quantity() < other.Quantity(); }

    const wchar_t* ToString() override { return text_.c_str(); }
    // Returns a heap copy that the caller owns.
    virtual Version* Clone() const;

  private:
    std::wstring text_;
};

}  // namespace rigel
