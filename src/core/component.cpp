#include "core/component.h"

#include "core/system.h"

namespace rigel {

void Component::AddValue(const GroupID& group, Value& value, std::uint32_t index) {
    System::Instance().GetSystemValues().AddValue(SystemValue(SystemValueID(group, index), value));
}

}  // namespace rigel
