// Feeds arbitrary registry data to the registry text reader: binary data must come out as the
// literal rule gives it (each NUL unit swapped with a non-NUL one after it until none is left
// before one), and every read through the registry service must agree with the decoder.
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "detect/platform/registry.h"
#include "os/fake/fake_registry.h"
#include "os/scoped_services.h"
#include "os/services.h"

namespace {

// The rule as stated, swap by swap; quadratic, so the fuzzer's inputs stay short enough.
std::wstring CompactedText(const std::uint8_t* data, std::size_t size) {
    std::wstring units;
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        units.push_back(static_cast<wchar_t>(data[i] | (data[i + 1] << 8)));
    }
    for (bool swapped = true; swapped;) {
        swapped = false;
        for (std::size_t i = 0; i + 1 < units.size(); ++i) {
            if (units[i] == L'\0' && units[i + 1] != L'\0') {
                std::swap(units[i], units[i + 1]);
                swapped = true;
            }
        }
    }
    return units.substr(0, units.find(L'\0'));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 4096) return 0;
    const std::uint32_t type = data[0] % 12;
    const std::vector<std::uint8_t> bytes(data + 1, data + size);

    const std::wstring decoded = rigel::Registry::TextOfData(type, bytes);
    if (decoded.find(L'\0') != std::wstring::npos) __builtin_trap();
    if (type == rigel::os::Registry::kBinary &&
        decoded != CompactedText(bytes.data(), bytes.size())) {
        __builtin_trap();
    }

    rigel::os::FakeRegistry registry;
    registry.SetValue(rigel::os::Registry::kLocalMachine, L"SOFTWARE\\Fuzz", L"Value", type, bytes);
    rigel::os::Services services = rigel::os::Current();
    services.registry = &registry;
    rigel::os::ScopedServices scope(services);
    std::wstring read;
    const bool found = rigel::Registry::Instance().ReadString(rigel::os::Registry::kLocalMachine,
                                                              L"SOFTWARE\\Fuzz", L"Value", read);
    if (!found || read != decoded) __builtin_trap();
    if (registry.OpenKeyCount() != 0) __builtin_trap();
    return 0;
}
