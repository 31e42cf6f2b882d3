#pragma once

#include <array>
#include <string>

namespace rigel {

// One sound device. The motherboard component uses the same record for the board: manufacturer
// in name, product in hardwareId, version in driverVersion and its four driver texts D1 to D4 in
// extraTexts.
struct SoundInfo {
    std::wstring name;
    std::wstring hardwareId;  // the device's first hardware identifier
    std::wstring driverVersion;
    // The sound component's package versions P1 to P4.
    std::array<std::wstring, 4> extraTexts;
};

}  // namespace rigel
