#pragma once

#include <string>
#include <vector>

#include "control/logic/registration_script.h"

namespace rigel {

// The registry rows of an installer package (Windows Installer's Registry table, below the
// classes root) that write what a registration script writes, so that an installed control and a
// self-registered one cannot drift apart. The installer removes its rows on uninstall and then
// every key they leave empty, which is what the script's unregistration does.
class InstallerRows {
  public:
    struct Row {
        std::wstring key;
        // Empty for the key's default value; kWholeKey for a key that the installer creates and
        // removes with everything below it.
        std::wstring name;
        std::wstring value;

        bool operator==(const Row& other) const {
            return key == other.key && name == other.name && value == other.value;
        }
    };

    static constexpr wchar_t kWholeKey[] = L"*";

    // Appends the rows of the script with its placeholders replaced; false (and nothing appended)
    // when a placeholder has no replacement. Shared keys (NoRemove, such as CLSID) get no rows:
    // the installer must never remove them.
    static bool Append(const RegistrationScript& script,
                       const RegistrationScript::Replacements& replacements,
                       std::vector<Row>& rows);
};

}  // namespace rigel
