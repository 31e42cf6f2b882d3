// Feeds arbitrary models-section lines (and keys) of a driver INF to the line comparison and
// checks its answer against the line: only lines that fit are read, and a match is the key at the
// first "VEN", ending the line exactly when it is a two-part match.
#include <cstddef>
#include <cstdint>
#include <string>

#include "detect/devices/inf_models_line.h"
#include "diag/log.h"
#include "fuzz_input.h"
#include "values/ascii_case.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using rigel::InfModelsLine;
    rigel::Log::Instance().SetLevel(size > 0 && (data[0] & 1) != 0 ? rigel::Log::kMaxLevel : 0);
    const std::wstring input = rigel::fuzz::WideText(data, size);
    // A NUL unit separates the line from a key of the fuzzer's own; without one the key is that
    // of an Intel adapter.
    const std::size_t split = input.find(L'\0');
    const std::wstring line = input.substr(0, split);
    const std::wstring key =
        split == std::wstring::npos ? L"ven_8086&dev_0102" : input.substr(split + 1);

    const InfModelsLine::Match match = InfModelsLine::Compare(line, key);
    if (match == InfModelsLine::Match::kNone) return 0;
    if (line.size() > InfModelsLine::kMaxLength) __builtin_trap();
    const std::wstring upper = rigel::AsciiUpperCase(line);
    const std::size_t at = upper.find(L"VEN");
    if (at == std::wstring::npos || upper.size() - at < key.size()) __builtin_trap();
    if (upper.compare(at, key.size(), rigel::AsciiUpperCase(key)) != 0) __builtin_trap();
    const bool endsAfterKey = at + key.size() == upper.size();
    if (endsAfterKey != (match == InfModelsLine::Match::kTwoPart)) __builtin_trap();
    return 0;
}
