#include "os/win32/win32_direct3d9.h"

#include <windows.h>

#include <d3d9.h>

#include "os/win32/direct3d_calls.h"

namespace rigel::os {
namespace {

struct Types {
    using Object = IDirect3D9;
    using Device = IDirect3DDevice9;
    using Identifier = D3DADAPTER_IDENTIFIER9;
    using Caps = D3DCAPS9;
    using Present = D3DPRESENT_PARAMETERS;
};

}  // namespace

ComObject Win32Direct3D9::Create(ExportAddress create, std::uint32_t sdkVersion) {
    return direct3d_calls::Create<Types>(create, sdkVersion);
}

std::uint32_t Win32Direct3D9::GetAdapterCount(ComObject direct3D) {
    return direct3d_calls::GetAdapterCount<Types>(direct3D);
}

std::int32_t Win32Direct3D9::GetAdapterIdentifier(ComObject direct3D, std::uint32_t adapter,
                                                  std::uint32_t flags,
                                                  Direct3DAdapterIdentifier& identifier) {
    return direct3d_calls::GetAdapterIdentifier<Types>(direct3D, adapter, flags, identifier);
}

std::int32_t Win32Direct3D9::GetDeviceCaps(ComObject direct3D, std::uint32_t adapter,
                                           std::uint32_t deviceType, Direct3DCaps& caps) {
    return direct3d_calls::GetDeviceCaps<Types>(direct3D, adapter, deviceType, caps);
}

std::int32_t Win32Direct3D9::CreateDevice(ComObject direct3D, std::uint32_t adapter,
                                          std::uint32_t deviceType, std::uintptr_t focusWindow,
                                          std::uint32_t behaviorFlags,
                                          const Direct3DPresentParameters& parameters,
                                          ComObject& device) {
    return direct3d_calls::CreateDevice<Types>(direct3D, adapter, deviceType, focusWindow,
                                               behaviorFlags, parameters, device);
}

std::uint32_t Win32Direct3D9::GetAvailableTextureMem(ComObject device) {
    return direct3d_calls::GetAvailableTextureMem<Types>(device);
}

void Win32Direct3D9::Release(ComObject object) { direct3d_calls::Release(object); }

}  // namespace rigel::os
