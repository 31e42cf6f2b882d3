#include "os/fake/fake_installer.h"

#include <utility>

#include "os/fake/lower_case_path.h"

namespace rigel::os {

void FakeInstaller::AddProduct(const std::wstring& product, const std::wstring& upgradeCode,
                               std::map<std::wstring, std::wstring> properties) {
    products_[LowerCasePath(product)] =
        Product{product, LowerCasePath(upgradeCode), std::move(properties)};
}

std::uint32_t FakeInstaller::EnumRelatedProducts(const std::wstring& upgradeCode,
                                                 std::uint32_t index, std::wstring& product) {
    const std::wstring wanted = LowerCasePath(upgradeCode);
    std::uint32_t seen = 0;
    for (const auto& entry : products_) {
        if (entry.second.upgradeCode.empty() || entry.second.upgradeCode != wanted) continue;
        if (seen++ == index) {
            product = entry.second.code;
            return kSuccess;
        }
    }
    return kNoMoreItems;
}

std::uint32_t FakeInstaller::GetProductInfo(const std::wstring& product,
                                            const std::wstring& property, std::uint32_t& capacity,
                                            std::wstring& value) {
    productQueries.push_back(product);
    auto found = products_.find(LowerCasePath(product));
    if (found == products_.end()) return kUnknownProduct;
    auto text = found->second.properties.find(property);
    if (text == found->second.properties.end()) return kUnknownProperty;
    const auto length = static_cast<std::uint32_t>(text->second.size());
    const bool fits = length < capacity;
    capacity = length;
    if (!fits) return kMoreData;
    value = text->second;
    return kSuccess;
}

}  // namespace rigel::os
