#include "os/win32/win32_installer.h"

#include <windows.h>

#include <msi.h>

#include <vector>

namespace rigel::os {
namespace {

// A braced product code and its terminator, the size MsiEnumRelatedProductsW writes.
constexpr std::size_t kProductCodeBuffer = 39;

}  // namespace

std::uint32_t Win32Installer::EnumRelatedProducts(const std::wstring& upgradeCode,
                                                  std::uint32_t index, std::wstring& product) {
    wchar_t buffer[kProductCodeBuffer] = {};
    const UINT status = MsiEnumRelatedProductsW(upgradeCode.c_str(), 0, index, buffer);
    if (status == ERROR_SUCCESS) product.assign(buffer, wcsnlen(buffer, kProductCodeBuffer));
    return status;
}

std::uint32_t Win32Installer::GetProductInfo(const std::wstring& product,
                                             const std::wstring& property, std::uint32_t& capacity,
                                             std::wstring& value) {
    std::vector<wchar_t> buffer(capacity + 1, L'\0');
    DWORD size = capacity;
    const UINT status = MsiGetProductInfoW(product.c_str(), property.c_str(), buffer.data(), &size);
    capacity = size;
    if (status == ERROR_SUCCESS) value.assign(buffer.data(), wcsnlen(buffer.data(), buffer.size()));
    return status;
}

}  // namespace rigel::os
