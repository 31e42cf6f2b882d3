// Feeds arbitrary UTF-16 text to the bandwidth parser and checks the shape of the printed rate.
#include <cstddef>
#include <cstdint>
#include <string>

#include "diag/log.h"
#include "fuzz_input.h"
#include "service/bandwidth.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    rigel::Log::Instance().SetLevel(size > 0 && (data[0] & 1) != 0 ? rigel::Log::kMaxLevel : 0);
    rigel::Bandwidth bandwidth(rigel::fuzz::WideText(data, size));
    if (!rigel::fuzz::IsAmountText(bandwidth.ToString(), {L"bps", L"Kbps", L"Mbps", L"Gbps"})) {
        __builtin_trap();
    }
    return 0;
}
