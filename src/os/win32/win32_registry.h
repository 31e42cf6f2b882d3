#pragma once

#include "os/registry.h"

namespace rigel::os {

class Win32Registry : public Registry {
  public:
    std::int32_t OpenKey(HKey root, const std::wstring& subkey, std::uint32_t access,
                         HKey& key) override;
    std::int32_t QueryValue(HKey key, const std::wstring& name, std::uint32_t& type,
                            std::uint8_t* data, std::uint32_t& size) override;
    std::int32_t EnumKey(HKey key, std::uint32_t index, std::uint32_t capacity,
                         std::wstring& name) override;
    std::int32_t CloseKey(HKey key) override;
};

}  // namespace rigel::os
