#pragma once

#include <windows.h>

#include <unknwn.h>

#include <optional>
#include <string>

namespace rigel {

// The address of the page that hosts the control, read through the control's site: from the web
// browser that the site's service provider offers, else from the document that contains the
// client site.
class Win32SiteUrl {
  public:
    // Nothing when neither answers with an address.
    static std::optional<std::wstring> Read(IUnknown* site);
};

}  // namespace rigel
