#include "core/referrer_groups.h"

#include <algorithm>
#include <cstddef>

#include "core/data_service.h"
#include "core/system.h"

namespace rigel {
namespace {

constexpr wchar_t kFormFeed = L'\f';
constexpr const wchar_t* kSeparators = L"|,";

// The list is on the response's second line; without a line feed the whole text counts.
std::wstring SecondLine(std::wstring text) {
    text.erase(std::remove(text.begin(), text.end(), kFormFeed), text.end());
    const auto first = text.find(L'\n');
    if (first != std::wstring::npos) {
        text.erase(0, first + 1);
        const auto second = text.find(L'\n');
        if (second != std::wstring::npos) text.erase(second + 1);
    }
    return text;
}

}  // namespace

bool ReferrerGroups::Load(const std::wstring& referrerID) {
    if (loaded && referrer == referrerID) return false;
    Parse(DataService::Current().RequestGroups(referrerID));
    loaded = true;
    referrer = referrerID;
    return false;
}

// Split at every "|" and ","; a run of separators counts as one, and one at either end leaves an
// empty piece there. The groups are made piece by piece, so that a long list (the data service
// may send megabytes of it) costs no more memory than its groups.
void ReferrerGroups::Parse(std::wstring response) {
    const std::wstring line = SecondLine(std::move(response));
    std::size_t runs = 0;
    for (std::size_t at = line.find_first_of(kSeparators); at != std::wstring::npos;
         at = line.find_first_of(kSeparators, line.find_first_not_of(kSeparators, at))) {
        ++runs;
    }
    groups.clear();
    groups.reserve(runs + 1);
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = line.find_first_of(kSeparators, start);
        groups.emplace_back(line.substr(start, end - start));
        if (end == std::wstring::npos) return;
        start = line.find_first_not_of(kSeparators, end);
        if (start == std::wstring::npos) {
            groups.emplace_back(std::wstring());
            return;
        }
    }
}

bool ReferrerGroups::IsGroupEnabled(const GroupID& groupID) const {
    if (System::Instance().IsDebug() || referrer.empty()) return true;
    return std::find(groups.begin(), groups.end(), groupID) != groups.end();
}

}  // namespace rigel
