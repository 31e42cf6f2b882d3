#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "control/logic/hosting_page.h"

namespace rigel {

// The pages that may script the control, built in as a comma-separated list of sites: a scheme
// and either an exact host ("https://www.example.com") or "*." and a domain for the domain's
// subdomains ("https://*.example.com"). Sites are tried in order and the first that matches
// allows the page. An empty list lets every page script the control; a host that is no page (a
// script host, an automation client) is never refused.
class SiteLock {
  public:
    struct Verdict {
        bool allowed = false;
        // The allowing site's place in the list.
        std::optional<std::size_t> site;
        // Why the page is refused, as the log tells it; empty when it is allowed.
        std::wstring reason;
    };

    explicit SiteLock(const std::wstring& allowedSites);

    // True when a list was built in. A list whose entries are all malformed still locks: nothing
    // matches it.
    bool Locks() const { return locks_; }

    // Judges the page that hosts the control; nothing when no page does.
    Verdict Judge(const std::optional<HostingPage>& page) const;

  private:
    struct Site {
        std::wstring scheme;
        std::wstring domain;
        bool subdomains = false;
    };

    static bool Matches(const Site& site, const std::wstring& scheme, const std::wstring& host);

    bool locks_ = false;
    // Malformed entries keep their place, so that positions stay those of the list; they match
    // nothing.
    std::vector<std::optional<Site>> sites_;
};

}  // namespace rigel
