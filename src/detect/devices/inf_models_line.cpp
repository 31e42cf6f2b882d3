#include "detect/devices/inf_models_line.h"

#include <algorithm>

#include "diag/log.h"
#include "values/ascii_case.h"

namespace rigel {
namespace {

bool StartsWithIgnoringCase(const std::wstring& text, std::size_t at, const std::wstring& key) {
    if (text.size() - at < key.size()) return false;
    return std::equal(key.begin(), key.end(), text.begin() + static_cast<std::ptrdiff_t>(at),
                      [](wchar_t a, wchar_t b) { return AsciiUpper(a) == AsciiUpper(b); });
}

}  // namespace

InfModelsLine::Match InfModelsLine::Compare(const std::wstring& line, const std::wstring& key) {
    if (line.size() > kMaxLength) return Match::kNone;
    const std::wstring upper = AsciiUpperCase(line);
    const std::size_t vendor = upper.find(L"VEN");
    Log& log = Log::Instance();
    log.Line(Log::kTrace, L"Compare 1: ",
             vendor == std::wstring::npos ? std::wstring() : upper.substr(vendor));
    log.Line(Log::kTrace, L"Compare 2: ", key);
    if (vendor == std::wstring::npos || !StartsWithIgnoringCase(upper, vendor, key)) {
        return Match::kNone;
    }
    return vendor + key.size() == upper.size() ? Match::kTwoPart : Match::kFourPart;
}

}  // namespace rigel
