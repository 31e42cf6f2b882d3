#include "core/system_value_id.h"

#include <utility>

namespace rigel {

SystemValueID::SystemValueID(GroupID groupID, std::uint32_t occurrence)
    : group(std::move(groupID)), index(occurrence) {}

std::wstring SystemValueID::ToString() const {
    return group.GetText() + L"#" + std::to_wstring(index);
}

}  // namespace rigel
