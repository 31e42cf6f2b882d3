#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "os/display.h"

namespace rigel::os {

// A screen in memory: its size and colour depth, the monitors' rectangles and the foreground
// window. Screen contexts handed out are counted until released.
class FakeDisplay : public Display {
  public:
    int width = 1024;
    int height = 768;
    int bitsPerPixel = 32;
    std::vector<ScreenRect> monitors{{0, 0, 1024, 768}};
    WindowHandle foregroundWindow = 0x10010;

    std::vector<int> capsAsked;
    std::size_t LiveContextCount() const { return liveContexts_; }

    DeviceContext GetScreenDC() override {
        ++liveContexts_;
        return 0xDC;
    }
    int GetDeviceCaps(DeviceContext context, int index) override {
        capsAsked.push_back(index);
        if (context != 0xDC) return 0;
        if (index == kHorizontalResolution) return width;
        if (index == kVerticalResolution) return height;
        if (index == kBitsPerPixel) return bitsPerPixel;
        return 0;
    }
    int ReleaseScreenDC(DeviceContext context) override {
        if (context != 0xDC || liveContexts_ == 0) return 0;
        --liveContexts_;
        return 1;
    }
    // Monitor handles are the positions in the list, plus one.
    bool EnumDisplayMonitors(std::vector<MonitorHandle>& handles) override {
        for (std::size_t i = 0; i < monitors.size(); ++i) handles.push_back(i + 1);
        return true;
    }
    bool ReadMonitorInfo(MonitorHandle monitor, MonitorInfo& info) override {
        if (monitor == 0 || monitor > monitors.size()) return false;
        info.monitor = monitors[monitor - 1];
        info.work = info.monitor;
        info.flags = monitor == 1 ? 1u : 0u;  // MONITORINFOF_PRIMARY
        info.device = L"\\\\.\\DISPLAY" + std::to_wstring(monitor);
        return true;
    }
    WindowHandle GetForegroundWindow() override { return foregroundWindow; }

  private:
    std::size_t liveContexts_ = 0;
};

}  // namespace rigel::os
