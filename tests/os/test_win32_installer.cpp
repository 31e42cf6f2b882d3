#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "os/fake/fake_installer.h"
#include "os/installer.h"
#ifdef _WIN32
#include "os/win32/win32_installer.h"
#endif

namespace rigel::os {
namespace {

// A machine without installed products: no related product, and a product code that is well
// formed but unknown.
void CheckEmptyInstallerContract(Installer& installer) {
    std::wstring product = L"unchanged";
    EXPECT_EQ(installer.EnumRelatedProducts(L"{3F0FC462-CDC1-4CD9-8E84-84D89B914EAA}", 0, product),
              Installer::kNoMoreItems);
    EXPECT_EQ(product, L"unchanged");
    std::uint32_t capacity = 100;
    std::wstring version = L"unchanged";
    EXPECT_EQ(installer.GetProductInfo(L"{302600C1-6BDF-4fd1-1311-148929CC1385}", L"VersionString",
                                       capacity, version),
              Installer::kUnknownProduct);
    EXPECT_EQ(version, L"unchanged");
}

TEST(FakeInstallerTest, ProductsByUpgradeCodeAndVersionsThatMustFitTheBuffer) {
    FakeInstaller installer;
    CheckEmptyInstallerContract(installer);
    installer.AddProduct(L"{AAAAAAAA-0000-0000-0000-000000000001}", L"{UPGRADE}",
                         {{L"VersionString", L"12.5"}});
    std::wstring product;
    ASSERT_EQ(installer.EnumRelatedProducts(L"{upgrade}", 0, product), Installer::kSuccess);
    EXPECT_EQ(product, L"{AAAAAAAA-0000-0000-0000-000000000001}");
    EXPECT_EQ(installer.EnumRelatedProducts(L"{UPGRADE}", 1, product), Installer::kNoMoreItems);
    std::wstring version;
    std::uint32_t capacity = 4;
    EXPECT_EQ(installer.GetProductInfo(product, L"VersionString", capacity, version),
              Installer::kMoreData);
    EXPECT_EQ(capacity, 4u);
    capacity = 5;
    EXPECT_EQ(installer.GetProductInfo(product, L"VersionString", capacity, version),
              Installer::kSuccess);
    EXPECT_EQ(version, L"12.5");
    EXPECT_EQ(installer.GetProductInfo(product, L"Publisher", capacity, version),
              Installer::kUnknownProperty);
}

#ifdef _WIN32
TEST(Win32InstallerTest, AnEmptyWinePrefixAnswersTheContract) {
    Win32Installer installer;
    CheckEmptyInstallerContract(installer);
}
#endif

}  // namespace
}  // namespace rigel::os
