#include "os/win32/win32_display.h"

#include <windows.h>

namespace rigel::os {
namespace {

BOOL CALLBACK CollectMonitor(HMONITOR monitor, HDC, LPRECT, LPARAM data) {
    reinterpret_cast<std::vector<MonitorHandle>*>(data)->push_back(
        reinterpret_cast<MonitorHandle>(monitor));
    return TRUE;
}

ScreenRect FromWin32(const RECT& rect) {
    return ScreenRect{rect.left, rect.top, rect.right, rect.bottom};
}

}  // namespace

DeviceContext Win32Display::GetScreenDC() {
    return reinterpret_cast<DeviceContext>(GetDC(nullptr));
}

int Win32Display::GetDeviceCaps(DeviceContext context, int index) {
    return ::GetDeviceCaps(reinterpret_cast<HDC>(context), index);
}

int Win32Display::ReleaseScreenDC(DeviceContext context) {
    return ReleaseDC(nullptr, reinterpret_cast<HDC>(context));
}

bool Win32Display::EnumDisplayMonitors(std::vector<MonitorHandle>& monitors) {
    return ::EnumDisplayMonitors(nullptr, nullptr, CollectMonitor,
                                 reinterpret_cast<LPARAM>(&monitors)) != FALSE;
}

bool Win32Display::ReadMonitorInfo(MonitorHandle monitor, MonitorInfo& info) {
    MONITORINFOEXW read{};
    read.cbSize = sizeof(read);
    if (!GetMonitorInfoW(reinterpret_cast<HMONITOR>(monitor), &read)) return false;
    info.monitor = FromWin32(read.rcMonitor);
    info.work = FromWin32(read.rcWork);
    info.flags = read.dwFlags;
    info.device = read.szDevice;
    return true;
}

WindowHandle Win32Display::GetForegroundWindow() {
    return reinterpret_cast<WindowHandle>(::GetForegroundWindow());
}

}  // namespace rigel::os
