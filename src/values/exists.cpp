#include "values/exists.h"

#include <locale>

#include <boost/algorithm/string/case_conv.hpp>

#include "diag/log.h"
#include "values/shared_text.h"

namespace rigel {

Exists::Exists(const std::wstring& text) {
    try {
        const std::wstring upper = boost::algorithm::to_upper_copy(text, std::locale::classic());
        // A substring test, not a word match: stored texts vary ("Yes", "TRUE", "1").
        flag_ = upper.find(L'T') != std::wstring::npos || upper.find(L'Y') != std::wstring::npos ||
                upper.find(L'1') != std::wstring::npos;
    } catch (...) {
        Log::Instance().Line(Log::kWarning, L"Error while initializing Exists");
    }
}

Exists& Exists::operator=(bool flag) {
    flag_ = flag;
    return *this;
}

const wchar_t* Exists::ToString() {
    std::wstring& result = SharedText::For(SharedText::kExists);
    result = flag_ ? L"Yes" : L"No";
    return result.c_str();
}

Exists* Exists::Clone() const { return new Exists(*this); }

}  // namespace rigel
