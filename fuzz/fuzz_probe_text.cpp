// Feeds arbitrary UTF-16 text as a probe program's shared-memory text, with a key taken from the
// same bytes, and holds the lookup to its rule: the value lies between the first two bars after
// the key's first occurrence, so it never holds a bar, is a part of the text, and is empty
// whenever the key or either bar is missing.
#include <cstddef>
#include <cstdint>
#include <string>

#include "detect/platform/intel_driver.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    // The first byte says how many code units of the rest form the key.
    const std::size_t keyUnits = data[0] % 8;
    const std::wstring all = rigel::fuzz::WideText(data + 1, size - 1);
    const std::wstring key = all.substr(0, keyUnits);
    const std::wstring text = all.substr(key.size());

    const std::wstring value = rigel::IntelDriver::ProbeValue(text, key);
    if (value.find(L'|') != std::wstring::npos) __builtin_trap();
    if (!value.empty() && text.find(L"|" + value + L"|") == std::wstring::npos) __builtin_trap();

    const std::size_t at = text.find(key);
    if (at == std::wstring::npos && !value.empty()) __builtin_trap();
    if (at != std::wstring::npos) {
        const std::size_t open = text.find(L'|', at);
        const std::size_t close = open == std::wstring::npos ? open : text.find(L'|', open + 1);
        if (close == std::wstring::npos && !value.empty()) __builtin_trap();
    }
    return 0;
}
