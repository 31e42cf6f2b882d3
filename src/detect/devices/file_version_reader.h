#pragma once

#include <cstdint>
#include <string>

namespace rigel {

// Reads the file version of a file's version resource: the fixed file information's most
// significant 32-bit word as the high half, the least significant as the low half.
class FileVersionReader {
  public:
    virtual ~FileVersionReader() = default;

    // False when the path is empty or the file has no readable version resource.
    virtual bool GetFileVersionNumber(const std::wstring& path, std::uint64_t& version) = 0;

    // The reader the product uses. Version resources are not on the OS surface yet, so it finds
    // no version for any file.
    static FileVersionReader& Default();
};

}  // namespace rigel
