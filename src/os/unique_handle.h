#pragma once

#include <utility>

namespace rigel::os {

// Owns one handle and closes it with its closer when it goes out of scope. The empty value
// Handle{} marks "no handle" and is never closed. The closer may carry state (the service that
// issued the handle).
template <typename Handle, typename Closer>
class UniqueHandle {
  public:
    UniqueHandle(Handle handle, Closer closer) : handle_(handle), closer_(std::move(closer)) {}
    ~UniqueHandle() { reset(); }

    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    UniqueHandle(UniqueHandle&& other) noexcept
        : handle_(other.release()), closer_(std::move(other.closer_)) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        if (this != &other) {
            reset();
            handle_ = other.release();
            closer_ = std::move(other.closer_);
        }
        return *this;
    }

    Handle get() const { return handle_; }
    explicit operator bool() const { return handle_ != Handle{}; }

    Handle release() { return std::exchange(handle_, Handle{}); }

    void reset() {
        const Handle handle = release();
        if (handle != Handle{}) closer_(handle);
    }

  private:
    Handle handle_;
    Closer closer_;
};

}  // namespace rigel::os
