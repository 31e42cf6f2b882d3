#pragma once

#include <windows.h>

namespace rigel {

// Switches the calling thread's locale for the lifetime of the object and then restores it.
class ThreadLocaleScope {
  public:
    explicit ThreadLocaleScope(LCID locale) : previous_(GetThreadLocale()) {
        SetThreadLocale(locale);
    }
    ~ThreadLocaleScope() { SetThreadLocale(previous_); }
    ThreadLocaleScope(const ThreadLocaleScope&) = delete;
    ThreadLocaleScope& operator=(const ThreadLocaleScope&) = delete;

  private:
    LCID previous_;
};

}  // namespace rigel
