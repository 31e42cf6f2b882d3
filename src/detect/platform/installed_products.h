#pragma once

#include <string>

namespace rigel {

// Versions of products installed with Windows Installer.
class InstalledProducts {
  public:
    // The "VersionString" of the first product installed under the upgrade code.
    static bool RelatedProductVersion(const std::wstring& upgradeCode, std::wstring& version);
    // The "VersionString" of the product.
    static bool ProductVersion(const std::wstring& productCode, std::wstring& version);
};

}  // namespace rigel
