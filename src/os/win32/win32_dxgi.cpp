#include "os/win32/win32_dxgi.h"

#include <windows.h>

#include <d3d10.h>
#include <d3d10misc.h>
#include <d3d10shader.h>
#include <d3d11.h>
#include <dxgi.h>

namespace rigel::os {
namespace {

template <typename Interface>
Interface* As(ComObject object) {
    return reinterpret_cast<Interface*>(object);
}

template <typename Function>
Function Call(ExportAddress entry) {
    return reinterpret_cast<Function>(entry);
}

using CreateFactoryFunction = HRESULT(WINAPI*)(REFIID, void**);

template <typename Factory>
std::int32_t MakeFactory(ExportAddress create, ComObject& factory) {
    void* created = nullptr;
    const HRESULT status = Call<CreateFactoryFunction>(create)(__uuidof(Factory), &created);
    factory = SUCCEEDED(status) ? reinterpret_cast<ComObject>(created) : 0;
    return status;
}

template <typename Description>
void Copy(const Description& read, DxgiAdapterDescription& description) {
    description.description = read.Description;
    description.vendorId = read.VendorId;
    description.deviceId = read.DeviceId;
    description.subSysId = read.SubSysId;
    description.revision = read.Revision;
    description.dedicatedVideoMemory = read.DedicatedVideoMemory;
    description.dedicatedSystemMemory = read.DedicatedSystemMemory;
    description.sharedSystemMemory = read.SharedSystemMemory;
}

std::string ProfileText(const char* profile) {
    return profile != nullptr ? std::string(profile) : std::string();
}

}  // namespace

std::int32_t Win32Dxgi::CreateFactory(ExportAddress create, ComObject& factory) {
    return MakeFactory<IDXGIFactory>(create, factory);
}

std::int32_t Win32Dxgi::CreateFactory1(ExportAddress create, ComObject& factory) {
    return MakeFactory<IDXGIFactory1>(create, factory);
}

std::int32_t Win32Dxgi::EnumAdapters(ComObject factory, std::uint32_t index, ComObject& adapter) {
    IDXGIAdapter* found = nullptr;
    const HRESULT status = As<IDXGIFactory>(factory)->EnumAdapters(index, &found);
    adapter = SUCCEEDED(status) ? reinterpret_cast<ComObject>(found) : 0;
    return status;
}

std::int32_t Win32Dxgi::EnumAdapters1(ComObject factory, std::uint32_t index, ComObject& adapter) {
    IDXGIAdapter1* found = nullptr;
    const HRESULT status = As<IDXGIFactory1>(factory)->EnumAdapters1(index, &found);
    adapter = SUCCEEDED(status) ? reinterpret_cast<ComObject>(found) : 0;
    return status;
}

std::int32_t Win32Dxgi::GetDesc(ComObject adapter, DxgiAdapterDescription& description) {
    DXGI_ADAPTER_DESC read{};
    const HRESULT status = As<IDXGIAdapter>(adapter)->GetDesc(&read);
    if (SUCCEEDED(status)) Copy(read, description);
    return status;
}

std::int32_t Win32Dxgi::GetDesc1(ComObject adapter, DxgiAdapterDescription& description) {
    DXGI_ADAPTER_DESC1 read{};
    const HRESULT status = As<IDXGIAdapter1>(adapter)->GetDesc1(&read);
    if (SUCCEEDED(status)) Copy(read, description);
    return status;
}

std::int32_t Win32Dxgi::CreateDevice10(ExportAddress create, ComObject adapter,
                                       std::uint32_t driverType, std::uint32_t flags,
                                       std::uint32_t sdkVersion, ComObject& device) {
    ID3D10Device* created = nullptr;
    const HRESULT status = Call<decltype(&D3D10CreateDevice)>(create)(
        As<IDXGIAdapter>(adapter), static_cast<D3D10_DRIVER_TYPE>(driverType), nullptr, flags,
        sdkVersion, &created);
    device = SUCCEEDED(status) ? reinterpret_cast<ComObject>(created) : 0;
    return status;
}

std::string Win32Dxgi::PixelShaderProfile10(ExportAddress profile, ComObject device) {
    return ProfileText(
        Call<decltype(&D3D10GetPixelShaderProfile)>(profile)(As<ID3D10Device>(device)));
}

std::string Win32Dxgi::VertexShaderProfile10(ExportAddress profile, ComObject device) {
    return ProfileText(
        Call<decltype(&D3D10GetVertexShaderProfile)>(profile)(As<ID3D10Device>(device)));
}

std::int32_t Win32Dxgi::CreateDevice11(ExportAddress create, ComObject adapter,
                                       std::uint32_t driverType, std::uint32_t flags,
                                       const std::vector<std::uint32_t>& featureLevels,
                                       std::uint32_t sdkVersion, ComObject& device,
                                       std::uint32_t& level) {
    std::vector<D3D_FEATURE_LEVEL> offered;
    for (std::uint32_t offer : featureLevels)
        offered.push_back(static_cast<D3D_FEATURE_LEVEL>(offer));
    ID3D11Device* created = nullptr;
    D3D_FEATURE_LEVEL reached{};
    const HRESULT status = Call<decltype(&D3D11CreateDevice)>(create)(
        As<IDXGIAdapter>(adapter), static_cast<D3D_DRIVER_TYPE>(driverType), nullptr, flags,
        offered.data(), static_cast<UINT>(offered.size()), sdkVersion, &created, &reached, nullptr);
    device = SUCCEEDED(status) ? reinterpret_cast<ComObject>(created) : 0;
    level = SUCCEEDED(status) ? static_cast<std::uint32_t>(reached) : 0;
    return status;
}

void Win32Dxgi::Release(ComObject object) { As<IUnknown>(object)->Release(); }

}  // namespace rigel::os
