#pragma once

#include "os/installer.h"

namespace rigel::os {

class Win32Installer : public Installer {
  public:
    std::uint32_t EnumRelatedProducts(const std::wstring& upgradeCode, std::uint32_t index,
                                      std::wstring& product) override;
    std::uint32_t GetProductInfo(const std::wstring& product, const std::wstring& property,
                                 std::uint32_t& capacity, std::wstring& value) override;
};

}  // namespace rigel::os
