#include "detect/devices/dxgi_source.h"

#include "detect/devices/graphics_text.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/services.h"

namespace rigel {
namespace {

constexpr std::uint32_t kDriverTypeHardware = 0;  // D3D10_DRIVER_TYPE_HARDWARE
constexpr std::uint32_t kDriverTypeUnknown = 0;   // D3D_DRIVER_TYPE_UNKNOWN, given an adapter
constexpr std::uint32_t kDirect3D10SdkVersion = 29;
constexpr std::uint32_t kDirect3D11SdkVersion = 7;

// The feature levels offered to Direct3D 11, best first, with what reaching each means.
struct FeatureLevel {
    std::uint32_t level;
    const wchar_t* directXVersion;
    const wchar_t* shaderVersion;
};
constexpr FeatureLevel kFeatureLevels[] = {
    {0xB000, L"11.0", L"5.0"}, {0xA100, L"10.1", L"4.1"}, {0xA000, L"10.0", L"4.0"},
    {0x9300, L"9.3", L"3.0"},  {0x9200, L"9.2", L"2.0b"}, {0x9100, L"9.1", L"2.0a"},
};

const wchar_t* TraceName(bool dxgi, bool direct3D10) {
    if (dxgi) return L"rigel::DXGI::GetGpuInfo";
    return direct3D10 ? L"rigel::DirectX_10::GetGpuInfo" : L"rigel::DirectX_11::GetGpuInfo";
}

const wchar_t* QueryFailure(bool dxgi, bool direct3D10) {
    if (dxgi) return L"Error while getting GPU information from DXGI libraries.";
    return direct3D10 ? L"Error while getting GPU information from DirectX10 libraries."
                      : L"Error while getting GPU information from DirectX11 libraries.";
}

}  // namespace

DxgiSource::DxgiSource(Api api, const std::vector<Library>& libraries, const Messages& messages)
    : LibrarySource(libraries, messages), api_(api), dxgi_(os::Current().dxgi) {}

DxgiSource::Object DxgiSource::Own(os::ComObject object) {
    return Object(object, os::ComReleaser<os::Dxgi>(*dxgi_));
}

void DxgiSource::GetGpuInfo(std::vector<GpuInfo>& list) {
    const bool dxgi = api_ == Api::kDxgi;
    const bool direct3D10 = api_ == Api::kDirect3D10;
    ScopeTrace trace(TraceName(dxgi, direct3D10));
    if (!IsInitialized()) return;
    try {
        const Object factory = CreateFactory();
        if (!factory) return;
        for (std::uint32_t index = 0;; ++index) {
            const Object adapter = NextAdapter(factory, index);
            if (!adapter) break;
            list.push_back(ReadAdapter(adapter));
        }
    } catch (...) {
        Log::Instance().Line(Log::kError, QueryFailure(dxgi, direct3D10));
    }
}

DxgiSource::Object DxgiSource::CreateFactory() {
    os::ComObject factory = 0;
    const std::int32_t status = api_ == Api::kDirect3D11
                                    ? dxgi_->CreateFactory1(Entry("CreateDXGIFactory1"), factory)
                                    : dxgi_->CreateFactory(Entry("CreateDXGIFactory"), factory);
    if (status >= 0) return Own(factory);
    // DXGI alone has nothing to say when there is no factory.
    if (api_ != Api::kDxgi) {
        Log::Instance().Line(Log::kError, L"Failed in call to CreateDXGIFactory: ", status);
    }
    return Own(0);
}

DxgiSource::Object DxgiSource::NextAdapter(const Object& factory, std::uint32_t index) {
    os::ComObject adapter = 0;
    const std::int32_t status = api_ == Api::kDirect3D11
                                    ? dxgi_->EnumAdapters1(factory.get(), index, adapter)
                                    : dxgi_->EnumAdapters(factory.get(), index, adapter);
    if (status >= 0) return Own(adapter);
    if (status != os::Dxgi::kNotFound) {
        Log::Instance().Line(Log::kError, L"Error while enumerating adapters: ", status);
    }
    return Own(0);
}

GpuInfo DxgiSource::ReadAdapter(const Object& adapter) {
    GpuInfo info;
    ReadDescription(adapter, info);
    if (api_ == Api::kDirect3D10) ReadDirect3D10(adapter, info);
    if (api_ == Api::kDirect3D11) ReadDirect3D11(adapter, info);
    return info;
}

void DxgiSource::ReadDescription(const Object& adapter, GpuInfo& info) {
    os::DxgiAdapterDescription description;
    const std::int32_t status = api_ == Api::kDirect3D11
                                    ? dxgi_->GetDesc1(adapter.get(), description)
                                    : dxgi_->GetDesc(adapter.get(), description);
    if (status < 0) return;
    info.name = description.description;
    info.chipset = description.description;
    info.deviceID = DeviceID(description.vendorId, description.deviceId, description.subSysId);
    if (api_ == Api::kDirect3D11) {
        Log::Instance().Line(Log::kTrace, L"Sub system ID: ", description.subSysId);
    }
    const std::uint64_t dedicated =
        description.dedicatedVideoMemory + description.dedicatedSystemMemory;
    info.dedicatedRam = Size(dedicated);
    info.sharedRam = Size(description.sharedSystemMemory);
    info.totalRam = Size(dedicated + description.sharedSystemMemory);
}

void DxgiSource::ReadDirect3D10(const Object& adapter, GpuInfo& info) {
    os::ComObject created = 0;
    const std::int32_t status =
        dxgi_->CreateDevice10(Entry("D3D10CreateDevice"), adapter.get(), kDriverTypeHardware, 0,
                              kDirect3D10SdkVersion, created);
    const Object device = Own(status >= 0 ? created : 0);
    if (!device) return;
    info.pixelShader = rigel::Version(ShaderProfileVersion(
        dxgi_->PixelShaderProfile10(Entry("D3D10GetPixelShaderProfile"), device.get())));
    info.vertexShader = rigel::Version(ShaderProfileVersion(
        dxgi_->VertexShaderProfile10(Entry("D3D10GetVertexShaderProfile"), device.get())));
}

void DxgiSource::ReadDirect3D11(const Object& adapter, GpuInfo& info) {
    std::vector<std::uint32_t> offered;
    for (const FeatureLevel& level : kFeatureLevels) offered.push_back(level.level);
    os::ComObject created = 0;
    std::uint32_t reached = 0;
    const std::int32_t status =
        dxgi_->CreateDevice11(Entry("D3D11CreateDevice"), adapter.get(), kDriverTypeUnknown, 0,
                              offered, kDirect3D11SdkVersion, created, reached);
    const Object device = Own(status >= 0 ? created : 0);
    if (!device) return;
    for (const FeatureLevel& level : kFeatureLevels) {
        if (level.level != reached) continue;
        info.directXVersion = rigel::Version(level.directXVersion);
        info.pixelShader = rigel::Version(level.shaderVersion);
        info.vertexShader = rigel::Version(level.shaderVersion);
    }
}

}  // namespace rigel
