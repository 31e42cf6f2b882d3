// Feeds arbitrary UTF-16 text to the speed parser and checks the shape of the printed speed.
#include <cstddef>
#include <cstdint>
#include <string>

#include "diag/log.h"
#include "fuzz_input.h"
#include "values/speed.h"

namespace {

// "<digits>.<digit> <unit>", the only form a speed prints in.
bool IsSpeedText(const std::wstring& text) {
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
    return unit == L"Hz" || unit == L"KHz" || unit == L"MHz" || unit == L"GHz";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    rigel::Log::Instance().SetLevel(size > 0 && (data[0] & 1) != 0 ? rigel::Log::kMaxLevel : 0);
    const std::wstring text = rigel::fuzz::WideText(data, size);

    rigel::Speed speed;
    speed = text.c_str();
    if (!IsSpeedText(speed.ToString())) __builtin_trap();
    return 0;
}
