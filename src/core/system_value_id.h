#pragma once

#include <cstdint>
#include <string>

#include "core/group_id.h"

namespace rigel {

// Where a value is filed: its value identifier and the occurrence number of a repeated fact
// (0 for single facts).
class SystemValueID {
  public:
    SystemValueID(GroupID groupID, std::uint32_t occurrence);
    SystemValueID(const SystemValueID&) = default;
    SystemValueID(SystemValueID&&) = default;
    SystemValueID& operator=(const SystemValueID&) = default;
    SystemValueID& operator=(SystemValueID&&) = default;
    virtual ~SystemValueID() = default;

    // group#index, for log lines and error messages.
    std::wstring ToString() const;

    bool operator==(const SystemValueID& other) const {
        return group == other.group && index == other.index;
    }
    bool operator!=(const SystemValueID& other) const { return !(*this == other); }

    GroupID group;
    std::uint32_t index = 0;
};

}  // namespace rigel
