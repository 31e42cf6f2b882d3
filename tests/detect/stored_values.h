#pragma once

#include <string>
#include <vector>

#include "core/system.h"

namespace rigel::test {

// The store as "group#index=text", in insertion order.
inline std::vector<std::wstring> Stored() {
    std::vector<std::wstring> stored;
    for (const auto& value : System::Instance().GetSystemValues().Values()) {
        stored.push_back(value.id.ToString() + L"=" + value.text);
    }
    return stored;
}

}  // namespace rigel::test
