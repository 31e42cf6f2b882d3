#pragma once

#include <cstdint>
#include <string>

namespace rigel {

// What a disk tells about itself through the storage queries.
struct PhysicalDriveInfo {
    std::wstring model;             // product identification
    std::wstring firmware;          // product revision
    std::wstring vendor;            // vendor identification
    std::uint8_t busType = 0;       // STORAGE_BUS_TYPE; 0 when unknown
    std::uint32_t driveNumber = 0;  // the disk number it was asked for
    bool isIntel = false;
    bool isDiskDevice = false;  // the media types name a disk device
    bool isSsd = false;         // the model begins with SSD
};

}  // namespace rigel
