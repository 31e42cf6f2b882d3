#pragma once

#include <string>

namespace rigel {

// One network adapter.
struct NetworkDeviceInfo {
    std::wstring name;
    std::wstring hardwareId;
    bool onPciBus0 = false;
    std::wstring driverVersion;
    bool mediaType1 = false;  // the adapter's MediaSubType is 1
    bool mediaType2 = false;  // the adapter's MediaSubType is 2
};

}  // namespace rigel
