#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "os/direct3d.h"

namespace rigel::os {

// Direct3D 8 or 9 in memory: adapters with their identifier, capabilities and texture memory,
// each read able to fail with a chosen status. As on Windows, a windowed device with neither a
// focus nor a device window cannot be created. Objects handed out are counted until released.
class FakeDirect3D : public Direct3D {
  public:
    struct Adapter {
        std::int32_t identifierStatus = kOk;
        Direct3DAdapterIdentifier identifier;
        std::int32_t capsStatus = kOk;
        Direct3DCaps caps;
        std::int32_t deviceStatus = kOk;
        std::uint32_t textureMemory = 0;
    };

    bool creates = true;  // the create function returns an object
    std::vector<Adapter> adapters;

    // What was asked.
    std::vector<std::uint32_t> sdkVersions;
    std::vector<std::uint32_t> identifierFlags;
    std::vector<std::uint32_t> capsDeviceTypes;
    struct DeviceRequest {
        std::uint32_t adapter = 0;
        std::uint32_t deviceType = 0;
        std::uintptr_t focusWindow = 0;
        std::uint32_t behaviorFlags = 0;
        Direct3DPresentParameters parameters;
    };
    std::vector<DeviceRequest> deviceRequests;

    std::size_t LiveObjectCount() const { return objects_.size(); }

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

  private:
    const Adapter* Find(std::uint32_t adapter) const;

    std::map<ComObject, std::uint32_t> objects_;  // to the adapter of a device
    ComObject next_ = 0x100;
};

}  // namespace rigel::os
