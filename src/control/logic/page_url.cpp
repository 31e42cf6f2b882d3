#include "control/logic/page_url.h"

#include <algorithm>
#include <cstddef>

namespace rigel {
namespace {

bool IsAsciiLetter(wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z'); }

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

bool IsHexDigit(wchar_t c) {
    return IsDigit(c) || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
}

bool IsSchemeCharacter(wchar_t c) {
    return IsAsciiLetter(c) || IsDigit(c) || c == L'+' || c == L'-' || c == L'.';
}

// Letters, digits, hyphens, dots and underscores: no percent escapes, no non-ASCII text and
// nothing that a browser might read differently.
bool IsHostName(const std::wstring& host) {
    if (host.empty()) return false;
    for (wchar_t c : host) {
        if (!IsAsciiLetter(c) && !IsDigit(c) && c != L'-' && c != L'.' && c != L'_') return false;
    }
    return true;
}

bool IsIpv6Literal(const std::wstring& host) {
    if (host.size() < 3 || host.front() != L'[' || host.back() != L']') return false;
    for (std::size_t i = 1; i + 1 < host.size(); ++i) {
        const wchar_t c = host[i];
        if (!IsHexDigit(c) && c != L':' && c != L'.') return false;
    }
    return true;
}

// Empty, or a colon and decimal digits.
bool IsPortPart(const std::wstring& rest) {
    if (rest.empty()) return true;
    if (rest.front() != L':') return false;
    for (std::size_t i = 1; i < rest.size(); ++i) {
        if (!IsDigit(rest[i])) return false;
    }
    return true;
}

std::wstring AsciiLowerCase(std::wstring text) {
    for (wchar_t& c : text) {
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    }
    return text;
}

}  // namespace

std::optional<PageUrl> PageUrl::Parse(const std::wstring& url) {
    if (url.empty() || !IsAsciiLetter(url.front())) return std::nullopt;
    std::size_t colon = 1;
    while (colon < url.size() && IsSchemeCharacter(url[colon])) ++colon;
    if (url.compare(colon, 3, L"://") != 0) return std::nullopt;

    const std::size_t start = colon + 3;
    const std::size_t end = std::min(url.find_first_of(L"/?#", start), url.size());
    const std::wstring authority = url.substr(start, end - start);

    PageUrl parsed;
    parsed.scheme = AsciiLowerCase(url.substr(0, colon));
    const std::size_t at = authority.rfind(L'@');
    parsed.userInfo = at != std::wstring::npos;
    const std::wstring hostAndPort = parsed.userInfo ? authority.substr(at + 1) : authority;

    std::size_t hostEnd = 0;
    if (!hostAndPort.empty() && hostAndPort.front() == L'[') {
        const std::size_t close = hostAndPort.find(L']');
        if (close == std::wstring::npos) return std::nullopt;
        hostEnd = close + 1;
    } else {
        hostEnd = std::min(hostAndPort.find(L':'), hostAndPort.size());
    }
    const std::wstring host = hostAndPort.substr(0, hostEnd);
    if (!IsPortPart(hostAndPort.substr(hostEnd))) return std::nullopt;
    if (!IsHostName(host) && !IsIpv6Literal(host)) return std::nullopt;
    parsed.host = AsciiLowerCase(host);
    return parsed;
}

}  // namespace rigel
