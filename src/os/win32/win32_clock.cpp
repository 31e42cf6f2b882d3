#include "os/win32/win32_clock.h"

#include <windows.h>

#include <ctime>

namespace rigel::os {

std::uint32_t Win32Clock::TickCount() { return GetTickCount(); }

std::int64_t Win32Clock::PerformanceCounter() {
    LARGE_INTEGER counter{};
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
}

std::int64_t Win32Clock::PerformanceFrequency() {
    LARGE_INTEGER frequency{};
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}

TimeOfDay Win32Clock::LocalTime() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return TimeOfDay{now.wHour, now.wMinute, now.wSecond};
}

std::int64_t Win32Clock::UnixTime() { return static_cast<std::int64_t>(std::time(nullptr)); }

}  // namespace rigel::os
