#include "control/logic/site_lock.h"

#include "control/logic/page_url.h"

namespace rigel {
namespace {

constexpr const wchar_t* kInactive = L"; the control stays inactive.";
constexpr const wchar_t* kBlanks = L" \t";

std::wstring Trimmed(const std::wstring& text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::wstring::npos) return std::wstring();
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::wstring> Entries(const std::wstring& list) {
    std::vector<std::wstring> entries;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = list.find(L',', start);
        const std::wstring entry = Trimmed(list.substr(start, comma - start));
        if (!entry.empty()) entries.push_back(entry);
        if (comma == std::wstring::npos) return entries;
        start = comma + 1;
    }
}

}  // namespace

SiteLock::SiteLock(const std::wstring& allowedSites) {
    for (std::wstring entry : Entries(allowedSites)) {
        locks_ = true;
        Site site;
        const std::size_t authority = entry.find(L"://");
        if (authority != std::wstring::npos && entry.compare(authority + 3, 2, L"*.") == 0) {
            site.subdomains = true;
            entry.erase(authority + 3, 2);
        }
        // A site is a scheme and a host and nothing else: no user, port, path or query.
        const std::optional<PageUrl> parsed = PageUrl::Parse(entry);
        if (!parsed || parsed->userInfo || entry.size() != authority + 3 + parsed->host.size()) {
            sites_.push_back(std::nullopt);
            continue;
        }
        site.scheme = parsed->scheme;
        site.domain = parsed->host;
        sites_.push_back(site);
    }
}

bool SiteLock::Matches(const Site& site, const std::wstring& scheme, const std::wstring& host) {
    if (scheme != site.scheme) return false;
    if (!site.subdomains) return host == site.domain;
    const std::wstring suffix = L"." + site.domain;
    return host.size() > suffix.size() &&
           host.compare(host.size() - suffix.size(), suffix.size(), suffix) == 0;
}

SiteLock::Verdict SiteLock::Judge(const std::optional<HostingPage>& hostingPage) const {
    Verdict verdict;
    if (!locks_ || !hostingPage) {
        verdict.allowed = true;
        return verdict;
    }
    // The address itself may carry a password or a token: only its scheme and host are told.
    const std::optional<std::wstring>& address = hostingPage->address;
    if (!address) {
        verdict.reason =
            std::wstring(L"Site lock: the hosting page's address cannot be read") + kInactive;
        return verdict;
    }
    const std::optional<PageUrl> page = PageUrl::Parse(*address);
    if (!page) {
        verdict.reason = std::wstring(
                             L"Site lock: the hosting page's address names no host that a site can "
                             L"match") +
                         kInactive;
        return verdict;
    }
    if (page->userInfo) {
        verdict.reason =
            std::wstring(L"Site lock: the hosting page's address carries a user name or password") +
            kInactive;
        return verdict;
    }
    for (std::size_t i = 0; i < sites_.size(); ++i) {
        if (sites_[i] && Matches(*sites_[i], page->scheme, page->host)) {
            verdict.allowed = true;
            verdict.site = i;
            return verdict;
        }
    }
    verdict.reason = L"Site lock: " + page->scheme + L"://" + page->host +
                     L" is not an allowed site" + kInactive;
    return verdict;
}

}  // namespace rigel
