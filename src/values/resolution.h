#pragma once

#include <string>

#include "values/value.h"

namespace rigel {

// The text of a display resolution, such as "1920 x 1080", reported unchanged.
class Resolution : public Value {
  public:
    Resolution() = default;
    Resolution(const Resolution&) = default;
    Resolution& operator=(const Resolution&) = default;
    ~Resolution() override = default;

    Resolution& operator=(const std::wstring& text);

    const wchar_t* ToString() override { return text_.c_str(); }
    // Returns a heap copy that the caller owns.
    virtual Resolution* Clone() const;

  private:
    std::wstring text_;
};

}  // namespace rigel
