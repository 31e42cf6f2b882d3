#include <cstddef>
#include <cstdint>

#include "core/system.h"
#include "diag/log.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    rigel::System& session = rigel::System::Instance();
    session.SetConfiguration(rigel::fuzz::WideText(data, size));
    // Whatever the text set, the session must still answer and the log level stay capped.
    if (rigel::Log::Instance().GetLevel() > rigel::Log::kMaxLevel) __builtin_trap();
    (void)session.IsDebug();
    rigel::Log::Instance().SetLevel(0);
    return 0;
}
