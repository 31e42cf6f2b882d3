#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "os/dxgi.h"

namespace rigel::os {

// DXGI in memory: adapters with their description and what a Direct3D 10 or 11 device made on
// each reaches. A device reaches the first offered feature level that the adapter supports, as
// on Windows, and fails with E_INVALIDARG when it supports none. Objects handed out are counted
// until released.
class FakeDxgi : public Dxgi {
  public:
    struct Adapter {
        DxgiAdapterDescription description;
        std::int32_t descriptionStatus = kOk;
        std::int32_t device10Status = kOk;
        std::string pixelShaderProfile;
        std::string vertexShaderProfile;
        std::int32_t device11Status = kOk;
        std::uint32_t highestFeatureLevel = 0;  // 0: none of Direct3D 11's levels
    };

    std::int32_t factoryStatus = kOk;
    std::vector<Adapter> adapters;
    // What enumeration answers past the last adapter.
    std::int32_t endStatus = kNotFound;

    // What was asked.
    std::vector<std::string> calls;  // "CreateFactory", "EnumAdapters1", "GetDesc", ...
    struct DeviceRequest {
        std::uint32_t driverType = 0;
        std::uint32_t flags = 0;
        std::vector<std::uint32_t> featureLevels;
        std::uint32_t sdkVersion = 0;
    };
    std::vector<DeviceRequest> deviceRequests;

    std::size_t LiveObjectCount() const { return objects_.size(); }

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

  private:
    enum class Kind { kFactory, kAdapter, kDevice };
    struct Object {
        Kind kind = Kind::kFactory;
        std::size_t adapter = 0;
    };

    std::int32_t Factory(const char* call, ExportAddress create, ComObject& factory);
    std::int32_t Enumerate(const char* call, std::uint32_t index, ComObject& adapter);
    std::int32_t Describe(const char* call, ComObject adapter, DxgiAdapterDescription& description);
    const Adapter* AdapterOf(ComObject object) const;
    ComObject Hand(Kind kind, std::size_t adapter);

    std::map<ComObject, Object> objects_;
    ComObject next_ = 0x200;
};

}  // namespace rigel::os
