#pragma once

#include <cstdint>
#include <string>

namespace rigel {

// The fixed file version of a file's version resource.
class FileVersion {
  public:
    // The four 16-bit parts of the file version, most significant first, joined by "." (for
    // example 12.0.7601.17514). False when the file has no readable version resource.
    static bool Get(const std::wstring& path, std::wstring& text);
    // The same version as one number, the most significant part in the top 16 bits, so that
    // versions order as numbers. An empty path is refused.
    static bool GetNumber(const std::wstring& path, std::uint64_t& version);
};

}  // namespace rigel
