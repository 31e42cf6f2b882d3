// Feeds arbitrary UTF-16 text to the size parser and checks the shape of the printed size.
#include <cstddef>
#include <cstdint>
#include <string>

#include "diag/log.h"
#include "fuzz_input.h"
#include "values/size.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    rigel::Log::Instance().SetLevel(size > 0 && (data[0] & 1) != 0 ? rigel::Log::kMaxLevel : 0);
    const std::wstring text = rigel::fuzz::WideText(data, size);

    rigel::Size parsed(text);
    if (!rigel::fuzz::IsAmountText(parsed.ToString(), {L"B", L"KB", L"MB", L"GB", L"TB"})) {
        __builtin_trap();
    }

    rigel::Size reparsed;
    if (!reparsed.Parse(text.c_str())) __builtin_trap();
    if (text.find(L'\0') == std::wstring::npos && !(reparsed == parsed)) __builtin_trap();
    return 0;
}
