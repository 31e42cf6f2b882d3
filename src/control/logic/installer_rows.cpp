#include "control/logic/installer_rows.h"

namespace rigel {

bool InstallerRows::Append(const RegistrationScript& script,
                           const RegistrationScript::Replacements& replacements,
                           std::vector<Row>& rows) {
    std::vector<Row> added;
    for (const RegistryKey& key : script.Keys()) {
        if (key.removal == RegistryKey::Removal::kNoRemove) continue;
        std::wstring path;
        if (!RegistrationScript::Expand(key.path, replacements, path)) return false;
        if (key.removal == RegistryKey::Removal::kForceRemove) {
            added.push_back({path, kWholeKey, std::wstring()});
        }
        if (key.defaultValue != nullptr) {
            Row row{path, std::wstring(), std::wstring()};
            if (!RegistrationScript::Expand(key.defaultValue, replacements, row.value))
                return false;
            added.push_back(row);
        }
        if (key.valueName != nullptr) {
            Row row{path, key.valueName, std::wstring()};
            if (!RegistrationScript::Expand(key.value, replacements, row.value)) return false;
            added.push_back(row);
        }
    }
    rows.insert(rows.end(), added.begin(), added.end());
    return true;
}

}  // namespace rigel
