#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "os/com_releaser.h"
#include "os/libraries.h"

namespace rigel::os {

// The facts of DXGI_ADAPTER_DESC / DXGI_ADAPTER_DESC1 that the probes read.
struct DxgiAdapterDescription {
    std::wstring description;
    std::uint32_t vendorId = 0;
    std::uint32_t deviceId = 0;
    std::uint32_t subSysId = 0;
    std::uint32_t revision = 0;
    std::uint64_t dedicatedVideoMemory = 0;
    std::uint64_t dedicatedSystemMemory = 0;
    std::uint64_t sharedSystemMemory = 0;
};

// DXGI with the Direct3D 10 and 11 devices made on its adapters. HRESULTs are passed up
// unchanged; the entry points are those the caller resolved.
class Dxgi {
  public:
    static constexpr std::int32_t kOk = 0;  // S_OK
    static constexpr std::int32_t kNotFound =
        static_cast<std::int32_t>(0x887A0002);  // DXGI_ERROR_NOT_FOUND
    static constexpr std::int32_t kInvalidArgument =
        static_cast<std::int32_t>(0x80070057);  // E_INVALIDARG

    virtual ~Dxgi() = default;

    // CreateDXGIFactory for IDXGIFactory.
    virtual std::int32_t CreateFactory(ExportAddress create, ComObject& factory) = 0;
    // CreateDXGIFactory1 for IDXGIFactory1.
    virtual std::int32_t CreateFactory1(ExportAddress create, ComObject& factory) = 0;
    // IDXGIFactory::EnumAdapters.
    virtual std::int32_t EnumAdapters(ComObject factory, std::uint32_t index,
                                      ComObject& adapter) = 0;
    // IDXGIFactory1::EnumAdapters1.
    virtual std::int32_t EnumAdapters1(ComObject factory, std::uint32_t index,
                                       ComObject& adapter) = 0;
    // IDXGIAdapter::GetDesc.
    virtual std::int32_t GetDesc(ComObject adapter, DxgiAdapterDescription& description) = 0;
    // IDXGIAdapter1::GetDesc1.
    virtual std::int32_t GetDesc1(ComObject adapter, DxgiAdapterDescription& description) = 0;

    // D3D10CreateDevice on the adapter, with no software module.
    virtual std::int32_t CreateDevice10(ExportAddress create, ComObject adapter,
                                        std::uint32_t driverType, std::uint32_t flags,
                                        std::uint32_t sdkVersion, ComObject& device) = 0;
    // D3D10GetPixelShaderProfile; empty for a null answer.
    virtual std::string PixelShaderProfile10(ExportAddress profile, ComObject device) = 0;
    // D3D10GetVertexShaderProfile; empty for a null answer.
    virtual std::string VertexShaderProfile10(ExportAddress profile, ComObject device) = 0;

    // D3D11CreateDevice on the adapter with no software module and no immediate context kept;
    // level is the feature level reached.
    virtual std::int32_t CreateDevice11(ExportAddress create, ComObject adapter,
                                        std::uint32_t driverType, std::uint32_t flags,
                                        const std::vector<std::uint32_t>& featureLevels,
                                        std::uint32_t sdkVersion, ComObject& device,
                                        std::uint32_t& level) = 0;

    // IUnknown::Release.
    virtual void Release(ComObject object) = 0;
};

}  // namespace rigel::os
