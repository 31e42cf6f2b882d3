#pragma once

#include <cstdint>

namespace rigel {

// Measures elapsed milliseconds with the high-resolution performance counter.
class Timer {
  public:
    virtual ~Timer() = default;
    void Start();
    void Stop();
    std::int64_t ElapsedMilliseconds() const;

  private:
    std::int64_t start_ = 0;
    std::int64_t stop_ = 0;
};

}  // namespace rigel
