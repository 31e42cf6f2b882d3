#pragma once

#include "control/logic/registry_writer.h"

namespace rigel {

// The registration walk's registry calls on the real registry.
class Win32RegistryWriter : public RegistryWriter {
  public:
    std::int32_t CreateKey(Root root, const std::wstring& path) override;
    std::int32_t SetString(Root root, const std::wstring& path, const std::wstring& name,
                           const std::wstring& value) override;
    std::int32_t DeleteValue(Root root, const std::wstring& path,
                             const std::wstring& name) override;
    std::int32_t DeleteKey(Root root, const std::wstring& path) override;
    std::int32_t DeleteTree(Root root, const std::wstring& path) override;
    bool HasSubkeys(Root root, const std::wstring& path) override;
};

}  // namespace rigel
