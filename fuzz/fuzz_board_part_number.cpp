// Feeds arbitrary UTF-16 text to the board part-number check and holds it to the properties of
// the shape: ten characters alone or behind a lower-case "aa" only, the prefix changing nothing,
// the letter's case and the separator mattering as they should.
#include <cstddef>
#include <cstdint>
#include <string>

#include "detect/platform/mother_board.h"
#include "fuzz_input.h"

namespace {

bool Shape(const std::wstring& text) { return rigel::MotherBoard::HasPartNumberShape(text); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::wstring text = rigel::fuzz::WideText(data, size);
    const bool shaped = Shape(text);

    if (shaped && text.size() != 10 && !(text.size() == 12 && text.compare(0, 2, L"aa") == 0)) {
        __builtin_trap();
    }
    if (text.size() == 12 && text.compare(0, 2, L"aa") == 0 && shaped != Shape(text.substr(2))) {
        __builtin_trap();
    }
    if (text.size() == 10) {
        if (Shape(L"aa" + text) != shaped) __builtin_trap();
        if (Shape(L"AA" + text)) __builtin_trap();
    }
    if (shaped && text.size() == 10) {
        std::wstring other = text;
        other[0] = static_cast<wchar_t>(other[0] ^ 0x20);  // the letter in the other case
        if (!Shape(other)) __builtin_trap();
        other = text;
        other[6] = L'_';
        if (Shape(other)) __builtin_trap();
    }
    return 0;
}
