#pragma once

#include <optional>
#include <string>

namespace rigel {

// The page that hosts the control, found through the control's site: a web browser or an HTML
// document stands behind the site. Its address, when it gives one.
struct HostingPage {
    std::optional<std::wstring> address;
};

}  // namespace rigel
