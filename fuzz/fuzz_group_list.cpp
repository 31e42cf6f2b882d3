#include <cstddef>
#include <cstdint>

#include "core/referrer_groups.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    rigel::ReferrerGroups list;
    list.Parse(rigel::fuzz::WideText(data, size));
    // A split always yields at least one piece, and no number exceeds 32 bits.
    if (list.groups.empty()) __builtin_trap();
    for (const auto& group : list.groups) {
        if (group.GetNumber() > 0xFFFFFFFFu) __builtin_trap();
    }
    return 0;
}
