#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "control/logic/page_url.h"
#include "control/logic/site_lock.h"
#include "fuzz_input.h"

namespace {

bool IsLowerCase(const std::wstring& text) {
    return std::none_of(text.begin(), text.end(), [](wchar_t c) { return c >= L'A' && c <= L'Z'; });
}

}  // namespace

// The text up to its first line feed is the list of allowed sites, the rest the page's address.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::wstring text = rigel::fuzz::WideText(data, size);
    const std::size_t split = std::min(text.find(L'\n'), text.size());
    const std::wstring list = text.substr(0, split);
    const std::wstring address = split < text.size() ? text.substr(split + 1) : std::wstring();

    const std::optional<rigel::PageUrl> page = rigel::PageUrl::Parse(address);
    if (page) {
        // A host never holds what separates or escapes the parts of an address.
        if (page->scheme.empty() || page->host.empty()) __builtin_trap();
        if (!IsLowerCase(page->scheme) || !IsLowerCase(page->host)) __builtin_trap();
        if (page->host.find_first_of(L"@/\\?#% ") != std::wstring::npos) __builtin_trap();
        if (page->host.size() > address.size()) __builtin_trap();
    }

    const rigel::SiteLock lock(list);
    const rigel::SiteLock::Verdict verdict = lock.Judge(rigel::HostingPage{address});
    if (verdict.allowed == !verdict.reason.empty()) __builtin_trap();
    if (verdict.allowed && lock.Locks()) {
        // Only a page with a host and no user name or password can be allowed, by a listed site.
        if (!page || page->userInfo || !verdict.site) __builtin_trap();
        if (*verdict.site >=
            static_cast<std::size_t>(std::count(list.begin(), list.end(), L',')) + 1) {
            __builtin_trap();
        }
    }
    return 0;
}
