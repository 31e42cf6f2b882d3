// Feeds arbitrary UTF-16 text (NULs and lone surrogates included) to the groups-configuration
// scanner and checks that the store it fills stays consistent.
#include <cstddef>
#include <cstdint>
#include <string>

#include "core/system_values.h"

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    rigel::SystemValues values;
    values.AddValues(CodeUnits(data, size));
    // Every entry must be found again under its own identifier, with its own text.
    for (const rigel::SystemValue& entry : values.Values()) {
        rigel::SystemValue found(entry.id, std::wstring());
        if (!values.TryGetValue(entry.id, found) || found.text != entry.text) __builtin_trap();
    }
    return 0;
}
