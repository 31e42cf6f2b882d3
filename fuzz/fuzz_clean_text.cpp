// Feeds arbitrary UTF-16 text to the report's value cleaning and checks that what comes out is
// safe inside an XML element.
#include <cstddef>
#include <cstdint>
#include <cwctype>
#include <string>
#include <type_traits>

#include "core/xml_report.h"

namespace {

std::wstring CodeUnits(const std::uint8_t* data, std::size_t size) {
    std::wstring text;
    text.reserve(size / 2);
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        text += static_cast<wchar_t>(static_cast<unsigned>(data[i]) |
                                     static_cast<unsigned>(data[i + 1]) << 8);
    }
    return text;
}

bool IsForbidden(wchar_t c) {
    const auto code = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<wchar_t>>(c));
    return (code < 32 && code != 9 && code != 10 && code != 13) ||
           (code >= 127 && code <= 159 && code != 133) || (code >= 0xD800 && code <= 0xDFFF) ||
           (code >= 0xFDD0 && code <= 0xFDEF) || code == 0xFFFE || code == 0xFFFF;
}

bool IsSpace(wchar_t c) { return std::iswspace(static_cast<std::wint_t>(c)) != 0; }

bool IsEntityAt(const std::wstring& text, std::size_t pos) {
    for (const wchar_t* entity : {L"&amp;", L"&lt;", L"&gt;"}) {
        if (text.compare(pos, std::char_traits<wchar_t>::length(entity), entity) == 0) return true;
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::wstring& cleaned = rigel::XMLReport::CleanText(CodeUnits(data, size));
    if (!cleaned.empty() && (IsSpace(cleaned.front()) || IsSpace(cleaned.back()))) {
        __builtin_trap();
    }
    for (std::size_t i = 0; i < cleaned.size(); ++i) {
        const wchar_t c = cleaned[i];
        if (c == L'<' || c == L'>' || IsForbidden(c)) __builtin_trap();
        if (c == L'&' && !IsEntityAt(cleaned, i)) __builtin_trap();
        if (c == L' ' && i > 0 && cleaned[i - 1] == L' ') __builtin_trap();
    }
    return 0;
}
