// Feeds arbitrary UTF-16 text, split in two at the first "|", to the version key and checks that
// the comparisons agree with the keys and that the text is kept unchanged.
#include <cstddef>
#include <cstdint>
#include <string>

#include "diag/log.h"
#include "fuzz_input.h"
#include "values/version.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    rigel::Log::Instance().SetLevel(size > 0 && (data[0] & 1) != 0 ? rigel::Log::kMaxLevel : 0);
    const std::wstring text = rigel::fuzz::WideText(data, size);
    const std::size_t split = text.find(L'|');
    const std::wstring leftText = text.substr(0, split);
    const std::wstring rightText = split == std::wstring::npos ? L"" : text.substr(split + 1);

    rigel::Version left(leftText);
    const rigel::Version right(rightText);
    const std::uint64_t leftKey = left.Quantity();
    const std::uint64_t rightKey = right.Quantity();

    // The text is kept whole; ToString shows it up to its first NUL.
    if (leftText.find(L'\0') == std::wstring::npos && left.ToString() != leftText) {
        __builtin_trap();
    }
    if (left.Quantity() != leftKey) __builtin_trap();
    if ((left == right) != (leftKey == rightKey)) __builtin_trap();
    if ((left < right) != (leftKey < rightKey)) __builtin_trap();

    left = text.c_str();
    left.Quantity();
    return 0;
}
