#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

namespace rigel::fuzz {

// Reads the fuzzer's bytes pairwise as 16-bit code units, so that a text can hold any code unit,
// NUL included, on both wchar_t widths.
inline std::wstring WideText(const std::uint8_t* data, std::size_t size) {
    std::wstring text;
    text.reserve(size / 2);
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        text.push_back(static_cast<wchar_t>(data[i] | (data[i + 1] << 8)));
    }
    return text;
}

// "<digits>.<digit> <unit>" with one of the given units: the only form an amount with a unit
// (size, speed, bandwidth) prints in.
inline bool IsAmountText(const std::wstring& text, std::initializer_list<const wchar_t*> units) {
    const std::size_t point = text.find(L'.');
    if (point == 0 || point == std::wstring::npos) return false;
    for (std::size_t i = 0; i < point; ++i) {
        if (text[i] < L'0' || text[i] > L'9') return false;
    }
    if (point + 3 > text.size() || text[point + 1] < L'0' || text[point + 1] > L'9' ||
        text[point + 2] != L' ') {
        return false;
    }
    const std::wstring unit = text.substr(point + 3);
    for (const wchar_t* allowed : units) {
        if (unit == allowed) return true;
    }
    return false;
}

}  // namespace rigel::fuzz
