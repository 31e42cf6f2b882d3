#include "values/size.h"

#include <locale>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "diag/log.h"
#include "values/shared_text.h"
#include "values/unit_scale.h"

namespace rigel {
namespace {

const UnitScale& Scale() {
    static const UnitScale scale(1024, {L"B", L"KB", L"MB", L"GB", L"TB"});
    return scale;
}

}  // namespace

Size::Size(const std::wstring& text) { ParseText(text); }

bool Size::Parse(const wchar_t* text) {
    if (text == nullptr) {
        bytes_ = 0;
        Log::Instance().Line(Log::kWarning, L"NULL parameter.");
        return false;
    }
    return ParseText(text);
}

bool Size::ParseText(const std::wstring& text) {
    bytes_ = 0;
    try {
        const std::locale& classic = std::locale::classic();
        const std::wstring trimmed = boost::algorithm::trim_copy(text, classic);
        const std::wstring number = trimmed.substr(0, trimmed.find_first_not_of(L"0123456789.+-"));
        const double factor = Scale().FactorIn(boost::algorithm::to_upper_copy(trimmed, classic));
        bytes_ = UnitScale::ToAmount(UnitScale::LeadingNumber(number) * factor);
        return true;
    } catch (...) {
        Log::Instance().Line(Log::kWarning, L"Error while initializing Size type with value: ",
                             text);
        return false;
    }
}

const wchar_t* Size::ToString() {
    std::wstring& result = SharedText::For(SharedText::kSize);
    try {
        const std::wstring formatted = Scale().Format(bytes_);
        result.assign(formatted);
    } catch (...) {
        Log::Instance().Line(Log::kWarning, L"Error while formatting size string.");
    }
    return result.c_str();
}

Size* Size::Clone() const { return new Size(*this); }

}  // namespace rigel
