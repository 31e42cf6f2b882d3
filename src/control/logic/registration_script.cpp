#include "control/logic/registration_script.h"

namespace rigel {
namespace {

bool IsGone(std::int32_t result) {
    return result == RegistryWriter::kSuccess || result == RegistryWriter::kFileNotFound;
}

void KeepFirstFailure(std::int32_t& first, std::int32_t result) {
    if (first == RegistryWriter::kSuccess && !IsGone(result)) first = result;
}

}  // namespace

RegistrationScript::RegistrationScript(std::vector<RegistryKey> keys) : keys_(std::move(keys)) {}

bool RegistrationScript::Expand(const std::wstring& text, const Replacements& replacements,
                                std::wstring& out) {
    std::wstring result;
    std::size_t pos = 0;
    while (pos < text.size()) {
        const std::size_t open = text.find(L'%', pos);
        if (open == std::wstring::npos) {
            result.append(text, pos, std::wstring::npos);
            break;
        }
        const std::size_t close = text.find(L'%', open + 1);
        if (close == std::wstring::npos) return false;
        result.append(text, pos, open - pos);
        const std::wstring name = text.substr(open + 1, close - open - 1);
        if (name.empty()) {
            result += L'%';
        } else {
            bool known = false;
            for (const auto& [placeholder, replacement] : replacements) {
                if (placeholder == name) {
                    result += replacement;
                    known = true;
                    break;
                }
            }
            if (!known) return false;
        }
        pos = close + 1;
    }
    out = std::move(result);
    return true;
}

std::pair<RegistryWriter::Root, std::wstring> RegistrationScript::Locate(RegistrationScope scope,
                                                                         const std::wstring& path) {
    if (scope == RegistrationScope::kPerUser) {
        return {RegistryWriter::Root::kCurrentUser, L"Software\\Classes\\" + path};
    }
    return {RegistryWriter::Root::kClassesRoot, path};
}

bool RegistrationScript::IsInsideForceRemove(std::size_t index,
                                             const std::vector<std::wstring>& paths) const {
    const std::wstring& path = paths[index];
    for (std::size_t i = 0; i < index; ++i) {
        if (keys_[i].removal != RegistryKey::Removal::kForceRemove) continue;
        const std::wstring prefix = paths[i] + L"\\";
        if (path.compare(0, prefix.size(), prefix) == 0) return true;
    }
    return false;
}

std::int32_t RegistrationScript::Register(RegistryWriter& writer, RegistrationScope scope,
                                          const Replacements& replacements) const {
    for (const RegistryKey& key : keys_) {
        std::wstring path;
        std::wstring defaultValue;
        std::wstring value;
        if (!Expand(key.path, replacements, path) ||
            (key.defaultValue != nullptr &&
             !Expand(key.defaultValue, replacements, defaultValue)) ||
            (key.value != nullptr && !Expand(key.value, replacements, value))) {
            return RegistryWriter::kInvalidData;
        }
        const auto [root, location] = Locate(scope, path);

        if (key.removal == RegistryKey::Removal::kForceRemove) {
            const std::int32_t deleted = writer.DeleteTree(root, location);
            if (!IsGone(deleted)) return deleted;
        }
        std::int32_t result = writer.CreateKey(root, location);
        if (result == RegistryWriter::kSuccess && key.defaultValue != nullptr) {
            result = writer.SetString(root, location, std::wstring(), defaultValue);
        }
        if (result == RegistryWriter::kSuccess && key.valueName != nullptr) {
            result = writer.SetString(root, location, key.valueName, value);
        }
        if (result != RegistryWriter::kSuccess) return result;
    }
    return RegistryWriter::kSuccess;
}

std::int32_t RegistrationScript::Unregister(RegistryWriter& writer, RegistrationScope scope,
                                            const Replacements& replacements) const {
    std::vector<std::wstring> paths(keys_.size());
    std::int32_t first = RegistryWriter::kSuccess;
    for (std::size_t i = 0; i < keys_.size(); ++i) {
        if (!Expand(keys_[i].path, replacements, paths[i])) first = RegistryWriter::kInvalidData;
    }
    if (first != RegistryWriter::kSuccess) return first;

    for (std::size_t i = keys_.size(); i-- > 0;) {
        const RegistryKey& key = keys_[i];
        if (key.removal == RegistryKey::Removal::kNoRemove || IsInsideForceRemove(i, paths)) {
            continue;
        }
        const auto [root, location] = Locate(scope, paths[i]);
        if (key.removal == RegistryKey::Removal::kForceRemove) {
            KeepFirstFailure(first, writer.DeleteTree(root, location));
            continue;
        }
        if (key.valueName != nullptr) {
            KeepFirstFailure(first, writer.DeleteValue(root, location, key.valueName));
        }
        // Someone else's subkey keeps a shared key alive.
        if (!writer.HasSubkeys(root, location)) {
            KeepFirstFailure(first, writer.DeleteKey(root, location));
        }
    }
    return first;
}

}  // namespace rigel
