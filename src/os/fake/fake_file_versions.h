#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "os/file_versions.h"

namespace rigel::os {

// Files in memory with or without a version resource; paths match without regard to case. The
// version block the fake hands out is its own format, read back only by its QueryFixedInfo.
class FakeFileVersions : public FileVersions {
  public:
    // A file whose fixed file information carries the version a.b.c.d.
    void AddFile(const std::wstring& path, std::uint16_t a, std::uint16_t b, std::uint16_t c,
                 std::uint16_t d);
    // A file whose root block holds exactly these bytes (a damaged resource when short).
    void AddFileWithFixedInfo(const std::wstring& path, std::vector<std::uint8_t> fixedInfo);
    // A file without a version resource.
    void AddFileWithoutVersion(const std::wstring& path);
    // GetFileVersionInfoW fails for the file, though its size was reported.
    void FailInfo(const std::wstring& path);

    // The fixed file information of a.b.c.d, as VerQueryValueW returns it.
    static std::vector<std::uint8_t> FixedInfo(std::uint16_t a, std::uint16_t b, std::uint16_t c,
                                               std::uint16_t d);

    // Every path whose size was asked for, in order.
    std::vector<std::wstring> sizeQueries;

    std::uint32_t InfoSize(const std::wstring& path, std::uint32_t& error) override;
    bool Info(const std::wstring& path, std::vector<std::uint8_t>& data) override;
    bool QueryFixedInfo(const std::vector<std::uint8_t>& data,
                        std::vector<std::uint8_t>& fixedInfo) override;

  private:
    struct File {
        bool hasResource = false;
        bool infoFails = false;
        std::vector<std::uint8_t> block;  // marker followed by the fixed file information
    };
    const File* Find(const std::wstring& path) const;

    std::map<std::wstring, File> files_;  // by lower-case path
};

}  // namespace rigel::os
