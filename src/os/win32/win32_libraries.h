#pragma once

#include "os/libraries.h"

namespace rigel::os {

class Win32Libraries : public Libraries {
  public:
    bool Load(const std::wstring& path, HModule& module, std::uint32_t& error) override;
    ExportAddress FindExport(HModule module, const std::string& name) override;
    void Free(HModule module) override;
};

}  // namespace rigel::os
