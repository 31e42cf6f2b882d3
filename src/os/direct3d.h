#pragma once

#include <cstdint>
#include <string>

#include "os/com_releaser.h"
#include "os/libraries.h"

namespace rigel::os {

// The facts of D3DADAPTER_IDENTIFIER8 / D3DADAPTER_IDENTIFIER9 that the probes read.
struct Direct3DAdapterIdentifier {
    std::string description;  // the Description field's bytes, in the thread's ANSI code page
    std::uint32_t vendorId = 0;
    std::uint32_t deviceId = 0;
    std::uint32_t subSysId = 0;
    std::uint32_t revision = 0;
    std::uint32_t driverVersionHigh = 0;  // DriverVersion.HighPart
    std::uint32_t driverVersionLow = 0;   // DriverVersion.LowPart
};

// The facts of D3DCAPS8 / D3DCAPS9 that the probes read.
struct Direct3DCaps {
    std::uint32_t devCaps = 0;
    std::uint32_t vertexShaderVersion = 0;
    std::uint32_t pixelShaderVersion = 0;
};

// The fields of D3DPRESENT_PARAMETERS that a caller sets; all others are zero.
struct Direct3DPresentParameters {
    std::uint32_t backBufferCount = 0;
    std::uint32_t swapEffect = 0;
    std::uintptr_t deviceWindow = 0;  // HWND
    bool windowed = false;
};

// Direct3D 8 or 9 (one implementation each, the same shape): the Direct3D object, its adapters
// and a device's texture memory. HRESULTs are passed up unchanged.
class Direct3D {
  public:
    static constexpr std::uint32_t kDeviceTypeHal = 1;   // D3DDEVTYPE_HAL
    static constexpr std::uint32_t kSwapEffectCopy = 3;  // D3DSWAPEFFECT_COPY
    static constexpr std::int32_t kOk = 0;               // D3D_OK
    static constexpr std::int32_t kInvalidCall =         // D3DERR_INVALIDCALL
        static_cast<std::int32_t>(0x8876086C);
    static constexpr std::int32_t kNotAvailable =  // D3DERR_NOTAVAILABLE
        static_cast<std::int32_t>(0x8876086A);

    virtual ~Direct3D() = default;

    // Direct3DCreate8 / Direct3DCreate9 through the resolved entry point; 0 when none comes back.
    virtual ComObject Create(ExportAddress create, std::uint32_t sdkVersion) = 0;
    // IDirect3D::GetAdapterCount.
    virtual std::uint32_t GetAdapterCount(ComObject direct3D) = 0;
    // IDirect3D::GetAdapterIdentifier.
    virtual std::int32_t GetAdapterIdentifier(ComObject direct3D, std::uint32_t adapter,
                                              std::uint32_t flags,
                                              Direct3DAdapterIdentifier& identifier) = 0;
    // IDirect3D::GetDeviceCaps.
    virtual std::int32_t GetDeviceCaps(ComObject direct3D, std::uint32_t adapter,
                                       std::uint32_t deviceType, Direct3DCaps& caps) = 0;
    // IDirect3D::CreateDevice.
    virtual std::int32_t CreateDevice(ComObject direct3D, std::uint32_t adapter,
                                      std::uint32_t deviceType, std::uintptr_t focusWindow,
                                      std::uint32_t behaviorFlags,
                                      const Direct3DPresentParameters& parameters,
                                      ComObject& device) = 0;
    // IDirect3DDevice::GetAvailableTextureMem.
    virtual std::uint32_t GetAvailableTextureMem(ComObject device) = 0;
    // IUnknown::Release.
    virtual void Release(ComObject object) = 0;
};

}  // namespace rigel::os
