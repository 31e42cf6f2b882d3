#pragma once

#include "os/file_versions.h"

namespace rigel::os {

class Win32FileVersions : public FileVersions {
  public:
    std::uint32_t InfoSize(const std::wstring& path, std::uint32_t& error) override;
    bool Info(const std::wstring& path, std::vector<std::uint8_t>& data) override;
    bool QueryFixedInfo(const std::vector<std::uint8_t>& data,
                        std::vector<std::uint8_t>& fixedInfo) override;
};

}  // namespace rigel::os
