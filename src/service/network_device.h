#pragma once

#include <string>
#include <vector>

#include "core/detector.h"
#include "detect/devices/network_device_info.h"

namespace rigel {

// Network adapters and the connection's download and upload rates.
class NetworkDevice : public Detector {
  public:
    NetworkDevice();

    // The download test file on the content host.
    static std::wstring TestFileUrl();

  protected:
    void Run() override;

  private:
    // Stores name, hardware identifier, bus 0, media subtypes 1 and 2 and driver version of each
    // adapter, numbered from 0 in the order the Setup API lists them.
    static void StoreAdapters(const std::vector<NetworkDeviceInfo>& adapters);
    static void MeasureDownload();
    static void MeasureUpload();
};

}  // namespace rigel
