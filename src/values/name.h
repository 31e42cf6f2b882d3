#pragma once

#include <string>

#include "values/value.h"

namespace rigel {

// A free text, reported exactly as it was given.
class Name : public Value {
  public:
    Name() = default;
    // A null pointer gives the empty text.
    explicit Name(const wchar_t* text);
    explicit Name(std::wstring text);
    Name(const Name&) = default;
    Name& operator=(const Name&) = default;
    ~Name() override = default;

    Name& operator=(const std::wstring& text);
    // A null pointer gives the empty text.
    Name& operator=(const wchar_t* text);

    // Same length and same characters: case matters and nothing is trimmed.
    bool operator==(const Name& other) const { return text_ == other.text_; }

    bool IsEmpty() const { return text_.empty(); }
    const wchar_t* ToString() override { return text_.c_str(); }
    // Returns a heap copy that the caller owns.
    virtual Name* Clone() const;

  private:
    std::wstring text_;
};

}  // namespace rigel
