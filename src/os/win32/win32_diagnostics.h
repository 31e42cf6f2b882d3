#pragma once

#include "os/diagnostics.h"

namespace rigel::os {

// The objects handed out are the COM interface pointers themselves, each holding one reference.
class Win32Diagnostics : public Diagnostics {
  public:
    std::int32_t InitializeCom() override;
    void UninitializeCom() override;
    std::int32_t CreateProvider(ComObject& provider) override;
    std::int32_t Initialize(ComObject provider, const DiagnosticsParameters& parameters) override;
    std::int32_t GetRootContainer(ComObject provider, ComObject& root) override;
    std::int32_t GetChildContainer(ComObject container, const std::wstring& name,
                                   ComObject& child) override;
    std::int32_t GetNumberOfChildContainers(ComObject container, std::uint32_t& count) override;
    std::int32_t EnumChildContainerNames(ComObject container, std::uint32_t index,
                                         std::uint32_t capacity, std::wstring& name) override;
    std::int32_t GetNumberOfProps(ComObject container, std::uint32_t& count) override;
    std::int32_t EnumPropNames(ComObject container, std::uint32_t index, std::uint32_t capacity,
                               std::wstring& name) override;
    std::int32_t GetProperty(ComObject container, const std::wstring& name,
                             DiagnosticsValue& value) override;
    void Release(ComObject object) override;
};

}  // namespace rigel::os
