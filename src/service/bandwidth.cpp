#include "service/bandwidth.h"

#include <locale>

#include <boost/algorithm/string/case_conv.hpp>

#include "diag/log.h"
#include "values/shared_text.h"
#include "values/unit_scale.h"

namespace rigel {
namespace {

const UnitScale& Scale() {
    static const UnitScale scale(1024, {L"bps", L"Kbps", L"Mbps", L"Gbps"});
    return scale;
}

}  // namespace

Bandwidth::Bandwidth(const std::wstring& text) {
    // Parse logs its own failures; a failure of that logging must not reach the detector.
    try {
        Parse(text);
    } catch (...) {  // NOLINT(bugprone-empty-catch): logging never reports failures
    }
}

void Bandwidth::Parse(const std::wstring& text) {
    try {
        const double factor =
            Scale().FactorIn(boost::algorithm::to_upper_copy(text, std::locale::classic()));
        bitsPerSecond_ = UnitScale::ToAmount(UnitScale::LeadingNumber(text) * factor);
    } catch (...) {
        Log::Instance().Line(Log::kWarning, L"Error while initializing Bandwidth");
    }
}

const wchar_t* Bandwidth::ToString() {
    std::wstring& result = SharedText::For(SharedText::kBandwidth);
    try {
        const std::wstring formatted = Scale().Format(bitsPerSecond_);
        result.assign(formatted);
    } catch (...) {
        try {
            Log::Instance().Line(Log::kWarning, L"Error while formatting bandwidth string.");
        } catch (...) {  // NOLINT(bugprone-empty-catch): logging never reports failures
        }
    }
    return result.c_str();
}

Bandwidth* Bandwidth::Clone() const { return new Bandwidth(*this); }

}  // namespace rigel
