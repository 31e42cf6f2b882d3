#include "core/referrer_groups.h"

#include <algorithm>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include "core/data_service.h"
#include "core/system.h"

namespace rigel {
namespace {

constexpr wchar_t kFormFeed = L'\f';

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

void ReferrerGroups::Parse(std::wstring response) {
    std::vector<std::wstring> pieces;
    boost::algorithm::split(pieces, SecondLine(std::move(response)),
                            boost::algorithm::is_any_of(L"|,"),
                            boost::algorithm::token_compress_on);
    groups.clear();
    groups.reserve(pieces.size());
    for (const auto& piece : pieces) groups.emplace_back(piece);
}

bool ReferrerGroups::IsGroupEnabled(const GroupID& groupID) const {
    if (System::Instance().IsDebug() || referrer.empty()) return true;
    return std::find(groups.begin(), groups.end(), groupID) != groups.end();
}

}  // namespace rigel
