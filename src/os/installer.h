#pragma once

#include <cstdint>
#include <string>

namespace rigel::os {

// Windows Installer product queries, one call per method; the status codes are those of the
// Msi functions, passed up unchanged.
class Installer {
  public:
    static constexpr std::uint32_t kSuccess = 0;              // ERROR_SUCCESS
    static constexpr std::uint32_t kMoreData = 234;           // ERROR_MORE_DATA
    static constexpr std::uint32_t kNoMoreItems = 259;        // ERROR_NO_MORE_ITEMS
    static constexpr std::uint32_t kUnknownProduct = 1605;    // ERROR_UNKNOWN_PRODUCT
    static constexpr std::uint32_t kUnknownProperty = 1608;   // ERROR_UNKNOWN_PROPERTY
    static constexpr std::uint32_t kBadConfiguration = 1610;  // ERROR_BAD_CONFIGURATION

    virtual ~Installer() = default;

    // MsiEnumRelatedProductsW: the index-th product installed under the upgrade code, as its
    // braced product code.
    virtual std::uint32_t EnumRelatedProducts(const std::wstring& upgradeCode, std::uint32_t index,
                                              std::wstring& product) = 0;

    // MsiGetProductInfoW into a buffer of capacity characters, terminator included. On return
    // capacity holds the value's length without the terminator; a value that does not fit gives
    // kMoreData and leaves value unchanged.
    virtual std::uint32_t GetProductInfo(const std::wstring& product, const std::wstring& property,
                                         std::uint32_t& capacity, std::wstring& value) = 0;
};

}  // namespace rigel::os
