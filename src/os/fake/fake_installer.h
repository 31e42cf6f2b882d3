#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "os/installer.h"

namespace rigel::os {

// Installed products in memory, each with an optional upgrade code and its properties. Codes
// match without regard to case, as Windows Installer reads them as GUIDs.
class FakeInstaller : public Installer {
  public:
    void AddProduct(const std::wstring& product, const std::wstring& upgradeCode,
                    std::map<std::wstring, std::wstring> properties);

    // Every product code asked of GetProductInfo, in order.
    std::vector<std::wstring> productQueries;

    std::uint32_t EnumRelatedProducts(const std::wstring& upgradeCode, std::uint32_t index,
                                      std::wstring& product) override;
    std::uint32_t GetProductInfo(const std::wstring& product, const std::wstring& property,
                                 std::uint32_t& capacity, std::wstring& value) override;

  private:
    struct Product {
        std::wstring code;
        std::wstring upgradeCode;  // lower case
        std::map<std::wstring, std::wstring> properties;
    };
    std::map<std::wstring, Product> products_;  // by lower-case product code
};

}  // namespace rigel::os
