#include "values/speed.h"

#include <locale>
#include <string>

#include <boost/algorithm/string/case_conv.hpp>

#include "diag/log.h"
#include "values/shared_text.h"
#include "values/unit_scale.h"

namespace rigel {
namespace {

const UnitScale& Scale() {
    static const UnitScale scale(1000, {L"Hz", L"KHz", L"MHz", L"GHz"});
    return scale;
}

}  // namespace

Speed& Speed::operator=(const wchar_t* text) {
    // Parse handles its own failures; only a failure to log one of them can get here, and the
    // readers that assign speeds must not see it.
    try {
        Parse(text);
    } catch (...) {
        try {
            Log::Instance().Line(Log::kWarning, L"Error while converting string to speed");
        } catch (...) {
            try {
                Log::Instance().Line(Log::kWarning, L"Error while converting string to speed.");
            } catch (...) {  // NOLINT(bugprone-empty-catch): logging never reports failures
            }
        }
    }
    return *this;
}

void Speed::Parse(const wchar_t* text) {
    hertz_ = 0;
    if (text == nullptr) return;
    try {
        const std::wstring copy(text);
        const double factor =
            Scale().FactorIn(boost::algorithm::to_upper_copy(copy, std::locale::classic()));
        hertz_ = UnitScale::ToAmount(UnitScale::LeadingNumber(copy) * factor);
    } catch (...) {
        Log::Instance().Line(Log::kWarning, L"Error while initializing Speed");
    }
}

const wchar_t* Speed::ToString() {
    std::wstring& result = SharedText::For(SharedText::kSpeed);
    try {
        const std::wstring formatted = Scale().Format(hertz_);
        result.assign(formatted);
    } catch (...) {
        Log::Instance().Line(Log::kWarning, L"Error while formatting speed string.");
    }
    return result.c_str();
}

Speed* Speed::Clone() const { return new Speed(*this); }

}  // namespace rigel
