#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace rigel::os {

// Version resources of files, reduced to the fixed file information, one call per method.
class FileVersions {
  public:
    // VS_FIXEDFILEINFO: its size and the offsets of the two file-version double words.
    static constexpr std::size_t kFixedInfoSize = 52;
    static constexpr std::size_t kFileVersionMsOffset = 8;
    static constexpr std::size_t kFileVersionLsOffset = 12;
    static constexpr std::uint32_t kFixedInfoSignature = 0xFEEF04BD;

    static constexpr std::uint32_t kErrorFileNotFound = 2;             // ERROR_FILE_NOT_FOUND
    static constexpr std::uint32_t kErrorResourceTypeNotFound = 1813;  // no version resource

    virtual ~FileVersions() = default;

    // GetFileVersionInfoSizeW: the size of the file's version block, 0 when it has none (error
    // is the thread's last error then).
    virtual std::uint32_t InfoSize(const std::wstring& path, std::uint32_t& error) = 0;
    // GetFileVersionInfoW into data, a buffer of data.size() bytes.
    virtual bool Info(const std::wstring& path, std::vector<std::uint8_t>& data) = 0;
    // VerQueryValueW of the root block "\": the bytes of the fixed file information.
    virtual bool QueryFixedInfo(const std::vector<std::uint8_t>& data,
                                std::vector<std::uint8_t>& fixedInfo) = 0;
};

}  // namespace rigel::os
