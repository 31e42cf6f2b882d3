#pragma once

#include "os/dxgi.h"

namespace rigel::os {

// DXGI, Direct3D 10 and Direct3D 11 through the entry points the caller resolved. The objects
// handed out are the COM interface pointers themselves, each holding one reference.
class Win32Dxgi : public Dxgi {
  public:
    std::int32_t CreateFactory(ExportAddress create, ComObject& factory) override;
    std::int32_t CreateFactory1(ExportAddress create, ComObject& factory) override;
    std::int32_t EnumAdapters(ComObject factory, std::uint32_t index, ComObject& adapter) override;
    std::int32_t EnumAdapters1(ComObject factory, std::uint32_t index, ComObject& adapter) override;
    std::int32_t GetDesc(ComObject adapter, DxgiAdapterDescription& description) override;
    std::int32_t GetDesc1(ComObject adapter, DxgiAdapterDescription& description) override;
    std::int32_t CreateDevice10(ExportAddress create, ComObject adapter, std::uint32_t driverType,
                                std::uint32_t flags, std::uint32_t sdkVersion,
                                ComObject& device) override;
    std::string PixelShaderProfile10(ExportAddress profile, ComObject device) override;
    std::string VertexShaderProfile10(ExportAddress profile, ComObject device) override;
    std::int32_t CreateDevice11(ExportAddress create, ComObject adapter, std::uint32_t driverType,
                                std::uint32_t flags,
                                const std::vector<std::uint32_t>& featureLevels,
                                std::uint32_t sdkVersion, ComObject& device,
                                std::uint32_t& level) override;
    void Release(ComObject object) override;
};

}  // namespace rigel::os
