#include "core/system_value.h"

#include <utility>

#include "values/value.h"

namespace rigel {

SystemValue::SystemValue(SystemValueID valueID, std::wstring valueText)
    : id(std::move(valueID)), text(std::move(valueText)) {}

SystemValue::SystemValue(SystemValueID valueID, Value& value) : id(std::move(valueID)) {
    const wchar_t* valueText = value.ToString();
    if (valueText != nullptr) text = valueText;
}

}  // namespace rigel
