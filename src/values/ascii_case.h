#pragma once

#include <string>

namespace rigel {

// Case changes of the ASCII letters alone: hardware identifiers, INF keys and device names are
// compared this way, whatever the locale.
inline wchar_t AsciiUpper(wchar_t c) {
    return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
}

inline std::wstring AsciiLowerCase(std::wstring text) {
    for (wchar_t& c : text) {
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    }
    return text;
}

inline std::wstring AsciiUpperCase(std::wstring text) {
    for (wchar_t& c : text) c = AsciiUpper(c);
    return text;
}

}  // namespace rigel
