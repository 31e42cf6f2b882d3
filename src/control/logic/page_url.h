#pragma once

#include <optional>
#include <string>

namespace rigel {

// The parts of a page's address that decide whether the page may script the control: its scheme,
// its host and whether a user name or password comes before the host. Only an address with an
// authority ("scheme://host...") names a host.
struct PageUrl {
    std::wstring scheme;  // in lower case, without the colon
    std::wstring host;    // in lower case; an IPv6 literal keeps its brackets
    bool userInfo = false;

    // Nothing when the text is no such address, or when its host or port holds anything but the
    // characters of a plain host name, an IPv6 literal or a decimal port.
    static std::optional<PageUrl> Parse(const std::wstring& url);
};

}  // namespace rigel
