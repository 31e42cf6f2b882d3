#pragma once

#include <string>

#include "core/system_value_id.h"

namespace rigel {

class Value;

// One entry of the value store: where it is filed and its text.
class SystemValue {
  public:
    SystemValue(SystemValueID valueID, std::wstring valueText);
    // Copies the value's text form now; the value may change or die afterwards.
    SystemValue(SystemValueID valueID, Value& value);
    SystemValue(const SystemValue&) = default;
    SystemValue(SystemValue&&) = default;
    SystemValue& operator=(const SystemValue&) = default;
    SystemValue& operator=(SystemValue&&) = default;
    virtual ~SystemValue() = default;

    SystemValueID id;
    std::wstring text;
};

}  // namespace rigel
