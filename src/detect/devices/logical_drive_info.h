#pragma once

#include <cstddef>
#include <cstdint>

namespace rigel {

// One fixed volume; a plain record, zero-filled before use.
struct LogicalDriveInfo {
    static constexpr std::size_t kRootCapacity = 256;  // 255 characters and the terminator

    std::uint64_t freeBytes;  // total free bytes on the volume
    std::uint64_t totalBytes;
    std::uint64_t usedBytes;      // total - free
    wchar_t root[kRootCapacity];  // the drive root as listed, such as C:\ (with the backslash)
    std::uint32_t diskNumber;     // 0 when the query fails
};

}  // namespace rigel
