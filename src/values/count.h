#pragma once

#include <cstdint>

#include "values/value.h"

namespace rigel {

// A number of things, reported in plain decimal.
class Count : public Value {
  public:
    explicit Count(std::uint64_t count) : count_(count) {}
    Count(const Count&) = default;
    Count& operator=(const Count&) = default;
    ~Count() override = default;

    std::uint64_t Get() const { return count_; }

    // The text lives in a buffer shared by every Count and is overwritten by the next call.
    const wchar_t* ToString() override;
    // Returns a heap copy that the caller owns.
    virtual Count* Clone() const;

  private:
    std::uint64_t count_;
};

}  // namespace rigel
