#pragma once

#include "os/display.h"

namespace rigel::os {

class Win32Display : public Display {
  public:
    DeviceContext GetScreenDC() override;
    int GetDeviceCaps(DeviceContext context, int index) override;
    int ReleaseScreenDC(DeviceContext context) override;
    bool EnumDisplayMonitors(std::vector<MonitorHandle>& monitors) override;
    bool ReadMonitorInfo(MonitorHandle monitor, MonitorInfo& info) override;
    WindowHandle GetForegroundWindow() override;
};

}  // namespace rigel::os
