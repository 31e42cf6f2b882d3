// Feeds arbitrary UTF-16 text to the bandwidth parser and checks the shape of the printed rate.
#include <cstddef>
#include <cstdint>
#include <string>

#include "diag/log.h"
#include "fuzz_input.h"
#include "service/bandwidth.h"

namespace {

// "<digits>.<digit> <unit>", the only form a bandwidth prints in.
bool IsBandwidthText(const std::wstring& text) {
    const std::size_t point = text.find(L'.');
    if (point == 0 || point == std::wstring::npos) return false;
    for (std::size_t i = 0; i < point; ++i) {
        if (text[i] < L'0' || text[i] > L'9') return false;
    }
    if (point + 3 > text.size() || text[point + 1] < L'0' || text[point + 1] > L'9' ||
        text[point + 2] != L' ') {
        return false;
    }
    const std::wstring unit = text.substr(point + 3);
    return unit == L"bps" || unit == L"Kbps" || unit == L"Mbps" || unit == L"Gbps";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    rigel::Log::Instance().SetLevel(size > 0 && (data[0] & 1) != 0 ? rigel::Log::kMaxLevel : 0);
    rigel::Bandwidth bandwidth(rigel::fuzz::WideText(data, size));
    if (!IsBandwidthText(bandwidth.ToString())) __builtin_trap();
    return 0;
}
