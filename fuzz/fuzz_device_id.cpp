// Feeds arbitrary UTF-16 text to the hardware identifier parser and checks that the printed
// identifier parses back to the same numbers.
#include <cstddef>
#include <cstdint>
#include <string>

#include "diag/log.h"
#include "fuzz_input.h"
#include "values/device_id.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    rigel::Log::Instance().SetLevel(size > 0 && (data[0] & 1) != 0 ? rigel::Log::kMaxLevel : 0);
    rigel::DeviceID parsed(rigel::fuzz::WideText(data, size));

    const std::wstring text = parsed.ToString();
    rigel::DeviceID reparsed(text);
    if (!(reparsed == parsed) || reparsed.GetRevision() != parsed.GetRevision()) __builtin_trap();
    if (reparsed.ToString() != text) __builtin_trap();

    parsed.VendorText();
    parsed.DeviceText();
    parsed.SubsystemVendorText();
    parsed.SubsystemDeviceText();
    if (parsed.IsSameFamily(reparsed) != (parsed.GetVendor() == reparsed.GetVendor())) {
        __builtin_trap();
    }
    return 0;
}
