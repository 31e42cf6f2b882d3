#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace rigel::os {

// Opaque GDI and window handles (HDC, HMONITOR, HWND); 0 means none.
using DeviceContext = std::uintptr_t;
using MonitorHandle = std::uintptr_t;
using WindowHandle = std::uintptr_t;

struct ScreenRect {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
};

// The fields of MONITORINFOEXW.
struct MonitorInfo {
    ScreenRect monitor;
    ScreenRect work;
    std::uint32_t flags = 0;
    std::wstring device;
};

// The screen through GDI and the window manager, one call per method.
class Display {
  public:
    static constexpr int kHorizontalResolution = 8;  // HORZRES
    static constexpr int kVerticalResolution = 10;   // VERTRES
    static constexpr int kBitsPerPixel = 12;         // BITSPIXEL

    virtual ~Display() = default;

    // GetDC for the whole screen.
    virtual DeviceContext GetScreenDC() = 0;
    // GetDeviceCaps.
    virtual int GetDeviceCaps(DeviceContext context, int index) = 0;
    // ReleaseDC of a screen context.
    virtual int ReleaseScreenDC(DeviceContext context) = 0;
    // EnumDisplayMonitors over the whole desktop, collecting the monitors the callback is given.
    virtual bool EnumDisplayMonitors(std::vector<MonitorHandle>& monitors) = 0;
    // GetMonitorInfoW with the extended record (104 bytes).
    virtual bool ReadMonitorInfo(MonitorHandle monitor, MonitorInfo& info) = 0;
    // GetForegroundWindow.
    virtual WindowHandle GetForegroundWindow() = 0;
};

}  // namespace rigel::os
