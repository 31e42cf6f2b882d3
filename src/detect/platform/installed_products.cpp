#include "detect/platform/installed_products.h"

#include <cstdint>

#include "os/installer.h"
#include "os/services.h"

namespace rigel {
namespace {

constexpr std::uint32_t kVersionCapacity = 100;

}  // namespace

bool InstalledProducts::RelatedProductVersion(const std::wstring& upgradeCode,
                                              std::wstring& version) {
    std::wstring product;
    return os::Current().installer->EnumRelatedProducts(upgradeCode, 0, product) ==
               os::Installer::kSuccess &&
           ProductVersion(product, version);
}

bool InstalledProducts::ProductVersion(const std::wstring& productCode, std::wstring& version) {
    std::uint32_t capacity = kVersionCapacity;
    return os::Current().installer->GetProductInfo(productCode, L"VersionString", capacity,
                                                   version) == os::Installer::kSuccess;
}

}  // namespace rigel
