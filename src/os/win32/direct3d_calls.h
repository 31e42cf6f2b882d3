#pragma once

// The calls of Direct3D 8 and 9, which have the same shape on different types. Included by one
// translation unit per version, since the two versions' headers cannot meet in one.

#include <windows.h>

#include <cstring>

#include "os/direct3d.h"

namespace rigel::os::direct3d_calls {

// Types names the version's interfaces and records: Object, Device, Identifier, Caps and
// Present (its D3DPRESENT_PARAMETERS).
template <typename Types>
typename Types::Object* As(ComObject object) {
    return reinterpret_cast<typename Types::Object*>(object);
}

template <typename Types>
ComObject Create(ExportAddress create, std::uint32_t sdkVersion) {
    using Function = typename Types::Object*(WINAPI*)(UINT);
    const auto function = reinterpret_cast<Function>(create);
    return reinterpret_cast<ComObject>(function(sdkVersion));
}

template <typename Types>
std::uint32_t GetAdapterCount(ComObject direct3D) {
    return As<Types>(direct3D)->GetAdapterCount();
}

template <typename Types>
std::int32_t GetAdapterIdentifier(ComObject direct3D, std::uint32_t adapter, std::uint32_t flags,
                                  Direct3DAdapterIdentifier& identifier) {
    typename Types::Identifier read{};
    const HRESULT status = As<Types>(direct3D)->GetAdapterIdentifier(adapter, flags, &read);
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

template <typename Types>
std::int32_t GetDeviceCaps(ComObject direct3D, std::uint32_t adapter, std::uint32_t deviceType,
                           Direct3DCaps& caps) {
    typename Types::Caps read{};
    const HRESULT status =
        As<Types>(direct3D)->GetDeviceCaps(adapter, static_cast<D3DDEVTYPE>(deviceType), &read);
    if (FAILED(status)) return status;
    caps.devCaps = read.DevCaps;
    caps.vertexShaderVersion = read.VertexShaderVersion;
    caps.pixelShaderVersion = read.PixelShaderVersion;
    return status;
}

template <typename Types>
std::int32_t CreateDevice(ComObject direct3D, std::uint32_t adapter, std::uint32_t deviceType,
                          std::uintptr_t focusWindow, std::uint32_t behaviorFlags,
                          const Direct3DPresentParameters& parameters, ComObject& device) {
    typename Types::Present present{};
    present.BackBufferCount = parameters.backBufferCount;
    present.SwapEffect = static_cast<D3DSWAPEFFECT>(parameters.swapEffect);
    present.hDeviceWindow = reinterpret_cast<HWND>(parameters.deviceWindow);
    present.Windowed = parameters.windowed ? TRUE : FALSE;
    typename Types::Device* created = nullptr;
    const HRESULT status = As<Types>(direct3D)->CreateDevice(
        adapter, static_cast<D3DDEVTYPE>(deviceType), reinterpret_cast<HWND>(focusWindow),
        behaviorFlags, &present, &created);
    device = SUCCEEDED(status) ? reinterpret_cast<ComObject>(created) : 0;
    return status;
}

template <typename Types>
std::uint32_t GetAvailableTextureMem(ComObject device) {
    return reinterpret_cast<typename Types::Device*>(device)->GetAvailableTextureMem();
}

inline void Release(ComObject object) { reinterpret_cast<IUnknown*>(object)->Release(); }

}  // namespace rigel::os::direct3d_calls
