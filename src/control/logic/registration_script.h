#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "control/logic/registration_scope.h"
#include "control/logic/registry_key.h"
#include "control/logic/registry_writer.h"

namespace rigel {

// A registration script: keys below the classes root, parents before their children. It writes
// them for the machine or, per user, below the current user's Software\Classes, and removes
// them again.
class RegistrationScript {
  public:
    // Placeholder names (without the percent signs) with their texts.
    using Replacements = std::vector<std::pair<std::wstring, std::wstring>>;

    explicit RegistrationScript(std::vector<RegistryKey> keys);

    // Writes the keys in order; a ForceRemove key is deleted with its subtree first, so no stale
    // subkey survives. Stops at the first failure and returns its error code.
    std::int32_t Register(RegistryWriter& writer, RegistrationScope scope,
                          const Replacements& replacements) const;

    // Removes what Register wrote, children first: ForceRemove keys with their subtrees, plain
    // keys once nothing is left below them, NoRemove keys never. Keys already gone are no error;
    // other failures do not stop the walk, and the first one is returned.
    std::int32_t Unregister(RegistryWriter& writer, RegistrationScope scope,
                            const Replacements& replacements) const;

    // Replaces every %NAME% by its text; "%%" stands for one "%". False for a name without a
    // replacement or a "%" without its partner.
    static bool Expand(const std::wstring& text, const Replacements& replacements,
                       std::wstring& out);

    const std::vector<RegistryKey>& Keys() const { return keys_; }

  private:
    // The root and path where a script path lands in the given scope.
    static std::pair<RegistryWriter::Root, std::wstring> Locate(RegistrationScope scope,
                                                                const std::wstring& path);
    // True when an earlier key of the script is a ForceRemove ancestor of key number index.
    bool IsInsideForceRemove(std::size_t index, const std::vector<std::wstring>& paths) const;

    std::vector<RegistryKey> keys_;
};

}  // namespace rigel
