#pragma once

#include <string>
#include <vector>

#include "core/group_id.h"

namespace rigel {

// The groups of values that the data service wants reported for one referrer.
struct ReferrerGroups {
    bool loaded = false;
    std::wstring referrer;
    std::vector<GroupID> groups;

    // Fetches the list for the referrer unless it is already loaded for the same one. Always
    // returns false.
    bool Load(const std::wstring& referrerID);

    // Replaces the list with the one the group-list response carries on its second line.
    void Parse(std::wstring response);

    bool IsGroupEnabled(const GroupID& groupID) const;
};

}  // namespace rigel
