#pragma once

namespace rigel {

// One key of a registration script: its path below the classes root, how unregistration treats
// it, and the string values it carries. Texts may hold %NAME% placeholders.
struct RegistryKey {
    enum class Removal {
        // Deleted on unregistration when no subkeys are left under it.
        kNone,
        // Deleted with its subtree before registration and on unregistration.
        kForceRemove,
        // Never deleted (shared keys such as CLSID).
        kNoRemove,
    };

    const wchar_t* path = nullptr;
    Removal removal = Removal::kNone;
    // Null when the key has no default value.
    const wchar_t* defaultValue = nullptr;
    // Null when the key has no named value.
    const wchar_t* valueName = nullptr;
    const wchar_t* value = nullptr;
};

}  // namespace rigel
