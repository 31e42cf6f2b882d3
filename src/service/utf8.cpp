#include "service/utf8.h"

#include <cstdint>
#include <type_traits>

namespace rigel {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// On Linux wchar_t is signed: a negative value becomes one far beyond U+10FFFF.
char32_t CodeUnit(wchar_t c) {
    return static_cast<char32_t>(static_cast<std::make_unsigned_t<wchar_t>>(c));
}

void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

void AppendWide(std::wstring& out, char32_t c) {
    if constexpr (sizeof(wchar_t) == 2) {
        if (c >= 0x10000) {
            c -= 0x10000;
            out += static_cast<wchar_t>(0xD800 + (c >> 10));
            out += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
            return;
        }
    }
    out += static_cast<wchar_t>(c);
}

}  // namespace

std::string Utf8::Encode(const std::wstring& text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = CodeUnit(text[i]);
        if constexpr (sizeof(wchar_t) == 2) {
            if (IsHighSurrogate(c) && i + 1 < text.size() &&
                IsLowSurrogate(CodeUnit(text[i + 1]))) {
                c = 0x10000 + ((c - 0xD800) << 10) + (CodeUnit(text[i + 1]) - 0xDC00);
                ++i;
            }
        }
        if (c > 0x10FFFF || IsHighSurrogate(c) || IsLowSurrogate(c)) c = kReplacement;
        AppendUtf8(out, c);
    }
    return out;
}

std::wstring Utf8::Decode(const std::string& bytes) {
    std::wstring out;
    out.reserve(bytes.size());
    std::size_t i = 0;
    while (i < bytes.size()) {
        const auto lead = static_cast<std::uint8_t>(bytes[i++]);
        if (lead < 0x80) {
            AppendWide(out, lead);
            continue;
        }
        // The allowed range of the second byte excludes overlong forms, surrogates and values
        // beyond U+10FFFF, so a bad sequence is caught at its first wrong byte.
        int trailing = 0;
        char32_t c = 0;
        std::uint8_t low = 0x80;
        std::uint8_t high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            trailing = 1;
            c = lead & 0x1Fu;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            trailing = 2;
            c = lead & 0x0Fu;
            if (lead == 0xE0) low = 0xA0;
            if (lead == 0xED) high = 0x9F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            trailing = 3;
            c = lead & 0x07u;
            if (lead == 0xF0) low = 0x90;
            if (lead == 0xF4) high = 0x8F;
        } else {
            AppendWide(out, kReplacement);
            continue;
        }
        bool complete = true;
        for (int k = 0; k < trailing; ++k) {
            if (i >= bytes.size()) {
                complete = false;
                break;
            }
            const auto next = static_cast<std::uint8_t>(bytes[i]);
            if (next < low || next > high) {
                complete = false;
                break;
            }
            c = (c << 6) | (next & 0x3Fu);
            ++i;
            low = 0x80;
            high = 0xBF;
        }
        AppendWide(out, complete ? c : kReplacement);
    }
    return out;
}

}  // namespace rigel
