#pragma once

#include <cstdint>

namespace rigel {

// A time limit counted from its construction on the machine's tick count, which only moves
// forward (it wraps after 49 days; the unsigned difference stays right across the wrap).
class Deadline {
  public:
    explicit Deadline(std::uint32_t milliseconds);

    // True once the limit's milliseconds have passed.
    bool Passed() const;
    std::uint32_t Milliseconds() const { return milliseconds_; }

  private:
    std::uint32_t start_;
    std::uint32_t milliseconds_;
};

}  // namespace rigel
