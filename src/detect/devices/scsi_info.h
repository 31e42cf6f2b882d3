#pragma once

#include <string>

namespace rigel {

// One storage adapter.
struct ScsiInfo {
    std::wstring hardwareId;
    std::wstring driverVersion;
};

}  // namespace rigel
