#pragma once

#include <algorithm>
#include <string>

#include "detect/stored_values.h"
#include "support/fake_machine.h"

namespace rigel::test {

// The text stored under "group#index", or "(none)" when nothing is.
inline std::wstring StoredText(const std::wstring& id) {
    const std::wstring prefix = id + L"=";
    for (const std::wstring& stored : Stored()) {
        if (stored.compare(0, prefix.size(), prefix) == 0) return stored.substr(prefix.size());
    }
    return L"(none)";
}

// Whether a log line ends with this level and message, e.g. L"TRACE | Got it".
inline bool Logged(const FakeMachine& machine, const std::wstring& ending) {
    const auto lines = machine.LogLines();
    return std::any_of(lines.begin(), lines.end(), [&](const std::wstring& line) {
        return line.size() >= ending.size() &&
               line.compare(line.size() - ending.size(), std::wstring::npos, ending) == 0;
    });
}

// Whether a log line holds exactly this message, whatever its level and indent.
inline bool LoggedMessage(const FakeMachine& machine, const std::wstring& message) {
    const auto messages = machine.LogMessages();
    return std::find(messages.begin(), messages.end(), message) != messages.end();
}

}  // namespace rigel::test
