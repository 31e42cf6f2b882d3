// Feeds arbitrary UTF-16 text to the speed parser and checks the shape of the printed speed.
#include <cstddef>
#include <cstdint>
#include <string>

#include "diag/log.h"
#include "fuzz_input.h"
#include "values/speed.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    rigel::Log::Instance().SetLevel(size > 0 && (data[0] & 1) != 0 ? rigel::Log::kMaxLevel : 0);
    const std::wstring text = rigel::fuzz::WideText(data, size);

    rigel::Speed speed;
    speed = text.c_str();
    if (!rigel::fuzz::IsAmountText(speed.ToString(), {L"Hz", L"KHz", L"MHz", L"GHz"})) {
        __builtin_trap();
    }
    return 0;
}
