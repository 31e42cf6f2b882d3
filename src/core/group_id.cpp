#include "core/group_id.h"

#include <cwctype>
#include <utility>

namespace rigel {
namespace {

constexpr std::uint64_t kMaxNumber = 0xFFFFFFFFu;

std::uint64_t NumberOf(const std::wstring& text) {
    std::size_t pos = 0;
    while (pos < text.size() && std::iswspace(static_cast<std::wint_t>(text[pos]))) ++pos;
    bool negative = false;
    if (pos < text.size() && (text[pos] == L'+' || text[pos] == L'-')) {
        negative = text[pos] == L'-';
        ++pos;
    }
    std::uint64_t number = 0;
    for (; pos < text.size() && text[pos] >= L'0' && text[pos] <= L'9'; ++pos) {
        number = number * 10 + static_cast<std::uint64_t>(text[pos] - L'0');
        // An overflow gives the largest number even after a minus sign.
        if (number > kMaxNumber) return kMaxNumber;
    }
    return negative ? (kMaxNumber + 1 - number) & kMaxNumber : number;
}

std::wstring DecimalText(std::uint32_t number) {
    wchar_t digits[10];
    std::size_t count = 0;
    do {
        digits[count++] = static_cast<wchar_t>(L'0' + number % 10);
        number /= 10;
    } while (number != 0);
    std::wstring text;
    text.reserve(count);
    while (count > 0) text += digits[--count];
    return text;
}

}  // namespace

GroupID::GroupID(std::uint32_t number) : text_(DecimalText(number)), number_(number) {}

GroupID::GroupID(std::wstring text) : text_(std::move(text)), number_(NumberOf(text_)) {}

}  // namespace rigel
