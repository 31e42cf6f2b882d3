// Feeds arbitrary bytes as a monitor's EDID value and checks the reported fields' shapes.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "detect/devices/edid_block.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const rigel::EdidBlock edid(std::vector<std::uint8_t>(data, data + size));

    const std::size_t kept =
        size < rigel::EdidBlock::kCapacity ? size : rigel::EdidBlock::kCapacity;
    if (edid.HexText().size() != (kept == 0 ? 0 : kept * 3 - 1)) __builtin_trap();
    const std::wstring identifier = edid.Identifier();
    if (identifier.size() != 8) __builtin_trap();
    for (wchar_t c : identifier) {
        if (!((c >= L'0' && c <= L'9') || (c >= L'A' && c <= L'F'))) __builtin_trap();
    }
    for (wchar_t c : edid.ManufacturerCode()) {
        if (c < L'@' || c > L'_') __builtin_trap();
    }
    const std::string name = edid.MonitorName();
    if (name.size() > 13) __builtin_trap();
    if (!name.empty() && (name.back() == '\n' || name.back() == ' ')) __builtin_trap();
    for (const auto& descriptor : edid.Descriptors()) {
        if (descriptor.text.size() > 13) __builtin_trap();
    }
    return 0;
}
