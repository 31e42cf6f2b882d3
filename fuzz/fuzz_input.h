#pragma once

#include <cstddef>
#include <cstdint>
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

}  // namespace rigel::fuzz
