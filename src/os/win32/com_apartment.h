#pragma once

#include <cstdint>

namespace rigel::os {

// Enters a single-threaded COM apartment for its lifetime, as the scripting host's thread is.
// Only the adapter tests need one: the product runs in its host's apartment.
class ComApartment {
  public:
    ComApartment();
    ~ComApartment();
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

    std::int32_t Status() const { return status_; }

  private:
    std::int32_t status_;
};

}  // namespace rigel::os
