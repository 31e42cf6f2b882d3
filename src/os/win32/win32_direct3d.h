#pragma once

// Direct3D 8 and 9 have the same calls on different types. The class is instantiated in one
// translation unit per version, since the two versions' headers cannot meet in one; callers take
// the version they want from its factory below.

#include <windows.h>

#include <unknwn.h>

#include <cstring>
#include <memory>

#include "os/direct3d.h"

namespace rigel::os {

std::unique_ptr<Direct3D> MakeWin32Direct3D8();
std::unique_ptr<Direct3D> MakeWin32Direct3D9();

// Types names the version's interfaces and records: Object, Device, Identifier, Caps and
// Present (its D3DPRESENT_PARAMETERS), and the enumerations DeviceType and SwapEffect.
template <typename Types>
class Win32Direct3D final : public Direct3D {
  public:
    ComObject Create(ExportAddress create, std::uint32_t sdkVersion) override {
        using Function = typename Types::Object*(WINAPI*)(UINT);
        const auto function = reinterpret_cast<Function>(create);
        return reinterpret_cast<ComObject>(function(sdkVersion));
    }

    std::uint32_t GetAdapterCount(ComObject direct3D) override {
        return As(direct3D)->GetAdapterCount();
    }

    std::int32_t GetAdapterIdentifier(ComObject direct3D, std::uint32_t adapter,
                                      std::uint32_t flags,
                                      Direct3DAdapterIdentifier& identifier) override {
        typename Types::Identifier read{};
        const HRESULT status = As(direct3D)->GetAdapterIdentifier(adapter, flags, &read);
        if (FAILED(status)) return status;
        identifier.description.assign(read.Description,
                                      strnlen(read.Description, sizeof(read.Description)));
        identifier.vendorId = read.VendorId;
        identifier.deviceId = read.DeviceId;
        identifier.subSysId = read.SubSysId;
        identifier.revision = read.Revision;
        identifier.driverVersionHigh = static_cast<std::uint32_t>(read.DriverVersion.HighPart);
        identifier.driverVersionLow = read.DriverVersion.LowPart;
        return status;
    }

    std::int32_t GetDeviceCaps(ComObject direct3D, std::uint32_t adapter, std::uint32_t deviceType,
                               Direct3DCaps& caps) override {
        typename Types::Caps read{};
        const HRESULT status = As(direct3D)->GetDeviceCaps(
            adapter, static_cast<typename Types::DeviceType>(deviceType), &read);
        if (FAILED(status)) return status;
        caps.devCaps = read.DevCaps;
        caps.vertexShaderVersion = read.VertexShaderVersion;
        caps.pixelShaderVersion = read.PixelShaderVersion;
        return status;
    }

    std::int32_t CreateDevice(ComObject direct3D, std::uint32_t adapter, std::uint32_t deviceType,
                              std::uintptr_t focusWindow, std::uint32_t behaviorFlags,
                              const Direct3DPresentParameters& parameters,
                              ComObject& device) override {
        typename Types::Present present{};
        present.BackBufferCount = parameters.backBufferCount;
        present.SwapEffect = static_cast<typename Types::SwapEffect>(parameters.swapEffect);
        present.hDeviceWindow = reinterpret_cast<HWND>(parameters.deviceWindow);
        present.Windowed = parameters.windowed ? TRUE : FALSE;
        typename Types::Device* created = nullptr;
        const HRESULT status = As(direct3D)->CreateDevice(
            adapter, static_cast<typename Types::DeviceType>(deviceType),
            reinterpret_cast<HWND>(focusWindow), behaviorFlags, &present, &created);
        device = SUCCEEDED(status) ? reinterpret_cast<ComObject>(created) : 0;
        return status;
    }

    std::uint32_t GetAvailableTextureMem(ComObject device) override {
        return reinterpret_cast<typename Types::Device*>(device)->GetAvailableTextureMem();
    }

    void Release(ComObject object) override { reinterpret_cast<IUnknown*>(object)->Release(); }

  private:
    static typename Types::Object* As(ComObject object) {
        return reinterpret_cast<typename Types::Object*>(object);
    }
};

}  // namespace rigel::os
