#pragma once

#include <cstdint>

#include "values/name.h"

namespace rigel {

// One disk as the Setup API or WMI lists it.
struct HardDriveInfo {
    Name model;
    Name firmware;    // the last 8 characters of the first hardware identifier
    Name deviceName;  // \\.\PHYSICALDRIVE and the disk number
    std::uint32_t index = 0;
};

}  // namespace rigel
