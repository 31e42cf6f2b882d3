#pragma once

#include <algorithm>
#include <string>

namespace rigel::os {

// Windows matches paths without regard to case; the paths in tests are ASCII.
inline std::wstring LowerCasePath(std::wstring path) {
    std::transform(path.begin(), path.end(), path.begin(), [](wchar_t c) {
        return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
    });
    return path;
}

}  // namespace rigel::os
