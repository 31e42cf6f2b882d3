#include "values/count.h"

#include <cstddef>
#include <locale>
#include <sstream>

#include "diag/log.h"
#include "values/shared_text.h"

namespace rigel {
namespace {

constexpr std::size_t kLongestText = 20;

}  // namespace

const wchar_t* Count::ToString() {
    std::wstring& result = SharedText::For(SharedText::kCount);
    try {
        result.clear();
        // Room for the longest count, so that the text is rewritten in place and a pointer from
        // an earlier call shows the latest text rather than freed memory. (A reserve below the
        // capacity may shrink it, hence the test.)
        if (result.capacity() < kLongestText) result.reserve(kLongestText);
        std::wostringstream text;
        text.imbue(std::locale::classic());
        text << count_;
        const std::wstring formatted = text.str();
        result.assign(formatted);
    } catch (...) {
        Log::Instance().Line(Log::kWarning, L"Error in Count ToString.");
    }
    return result.c_str();
}

Count* Count::Clone() const { return new Count(*this); }

}  // namespace rigel
