#pragma once

#include <cstdint>
#include <string>

namespace rigel {

// The registry calls that registration makes, behind an interface so that the walk over a
// registration script runs without a registry. Results are Windows error codes.
class RegistryWriter {
  public:
    // Where the classes live: the machine-wide classes root, or the current user's root (whose
    // classes are under Software\Classes).
    enum class Root { kClassesRoot, kCurrentUser };

    // The Windows error codes that the walk tells apart, with their published values.
    static constexpr std::int32_t kSuccess = 0;
    static constexpr std::int32_t kFileNotFound = 2;
    static constexpr std::int32_t kInvalidData = 13;

    virtual ~RegistryWriter() = default;

    // Opens the key, creating it and any missing parents.
    virtual std::int32_t CreateKey(Root root, const std::wstring& path) = 0;
    // An empty name stands for the key's default value.
    virtual std::int32_t SetString(Root root, const std::wstring& path, const std::wstring& name,
                                   const std::wstring& value) = 0;
    virtual std::int32_t DeleteValue(Root root, const std::wstring& path,
                                     const std::wstring& name) = 0;
    // Deletes a key that has no subkeys.
    virtual std::int32_t DeleteKey(Root root, const std::wstring& path) = 0;
    // Deletes a key with everything below it.
    virtual std::int32_t DeleteTree(Root root, const std::wstring& path) = 0;
    // False also when the key does not exist.
    virtual bool HasSubkeys(Root root, const std::wstring& path) = 0;
};

}  // namespace rigel
