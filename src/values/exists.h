#pragma once

#include <string>

#include "values/value.h"

namespace rigel {

// A yes/no fact, reported as "Yes" or "No".
class Exists : public Value {
  public:
    Exists() = default;
    explicit Exists(bool flag) : flag_(flag) {}
    // True when the text holds a T, a Y or a 1 anywhere, in any case ("Not present" is true).
    explicit Exists(const std::wstring& text);
    Exists(const Exists&) = default;
    Exists& operator=(const Exists&) = default;
    ~Exists() override = default;

    Exists& operator=(bool flag);
    bool Get() const { return flag_; }

    // The text lives in a buffer shared by every Exists and is overwritten by the next call.
    const wchar_t* ToString() override;
    // Returns a heap copy that the caller owns.
    virtual Exists* Clone() const;

  private:
    bool flag_ = false;
};

}  // namespace rigel
