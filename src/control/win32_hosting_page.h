#pragma once

#include <windows.h>

#include <unknwn.h>

#include <optional>

#include "control/logic/hosting_page.h"

namespace rigel {

// Finds the page behind the control's site: the web browser that the site's service provider
// offers, else the HTML document that contains the client site. A script engine's site (cscript's,
// for one) offers neither: no page hosts the control then.
class Win32HostingPage {
  public:
    static std::optional<HostingPage> Find(IUnknown* site);
};

}  // namespace rigel
