#pragma once

#include "os/direct3d.h"

namespace rigel::os {

// Direct3D 8, its creation function resolved from d3d8.dll by the caller.
class Win32Direct3D8 : public Direct3D {
  public:
    ComObject Create(ExportAddress create, std::uint32_t sdkVersion) override;
    std::uint32_t GetAdapterCount(ComObject direct3D) override;
    std::int32_t GetAdapterIdentifier(ComObject direct3D, std::uint32_t adapter,
                                      std::uint32_t flags,
                                      Direct3DAdapterIdentifier& identifier) override;
    std::int32_t GetDeviceCaps(ComObject direct3D, std::uint32_t adapter, std::uint32_t deviceType,
                               Direct3DCaps& caps) override;
    std::int32_t CreateDevice(ComObject direct3D, std::uint32_t adapter, std::uint32_t deviceType,
                              std::uintptr_t focusWindow, std::uint32_t behaviorFlags,
                              const Direct3DPresentParameters& parameters,
                              ComObject& device) override;
    std::uint32_t GetAvailableTextureMem(ComObject device) override;
    void Release(ComObject object) override;
};

}  // namespace rigel::os
