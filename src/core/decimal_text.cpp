#include "core/decimal_text.h"

#include <cwctype>
#include <limits>

namespace rigel {

std::int32_t ParseSignedDecimal(const std::wstring& text) {
    std::size_t pos = 0;
    while (pos < text.size() && std::iswspace(static_cast<wint_t>(text[pos]))) ++pos;
    bool negative = false;
    if (pos < text.size() && (text[pos] == L'+' || text[pos] == L'-')) {
        negative = text[pos] == L'-';
        ++pos;
    }
    constexpr std::int64_t kLimit = std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1;
    std::int64_t magnitude = 0;
    for (; pos < text.size() && text[pos] >= L'0' && text[pos] <= L'9'; ++pos) {
        if (magnitude <= kLimit) magnitude = magnitude * 10 + (text[pos] - L'0');
    }
    if (negative) {
        return magnitude >= kLimit ? std::numeric_limits<std::int32_t>::min()
                                   : static_cast<std::int32_t>(-magnitude);
    }
    return magnitude >= kLimit - 1 ? std::numeric_limits<std::int32_t>::max()
                                   : static_cast<std::int32_t>(magnitude);
}

}  // namespace rigel
