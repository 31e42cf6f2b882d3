#include "detect/devices/direct3d_source.h"

#include <string>

#include "detect/devices/graphics_text.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/code_page.h"
#include "os/display.h"
#include "os/services.h"

namespace rigel {
namespace {

constexpr std::uint32_t kHardwareRasterization = 0x80000;  // D3DDEVCAPS_HWRASTERIZATION
constexpr std::uint32_t kTransformAndLighting = 0x10000;   // D3DDEVCAPS_HWTRANSFORMANDLIGHT

}  // namespace

Direct3DSource::Direct3DSource(os::Direct3D& direct3D, const Library& library,
                               const Messages& messages, const Flavour& flavour)
    : LibrarySource({library}, messages), direct3D_(&direct3D), flavour_(flavour) {}

void Direct3DSource::GetGpuInfo(std::vector<GpuInfo>& list) {
    ScopeTrace trace(flavour_.traceName);
    if (!IsInitialized()) return;
    try {
        const Object direct3D(
            direct3D_->Create(Entry(flavour_.createFunction), flavour_.sdkVersion),
            os::ComReleaser<os::Direct3D>(*direct3D_));
        if (!direct3D) return;
        const std::uint32_t count = direct3D_->GetAdapterCount(direct3D.get());
        if (flavour_.logsAdapterCount) {
            Log::Instance().Line(Log::kTrace, L"See ", count, L" adapters.");
        }
        for (std::uint32_t adapter = 0; adapter < count; ++adapter) {
            list.push_back(ReadAdapter(direct3D, adapter));
        }
    } catch (...) {
        Log::Instance().Line(Log::kError, flavour_.queryFailure);
    }
}

GpuInfo Direct3DSource::ReadAdapter(const Object& direct3D, std::uint32_t adapter) {
    GpuInfo info;
    ReadIdentifier(direct3D, adapter, info);
    ReadCaps(direct3D, adapter, info);
    ReadTextureMemory(direct3D, adapter, info);
    return info;
}

void Direct3DSource::ReadIdentifier(const Object& direct3D, std::uint32_t adapter, GpuInfo& info) {
    os::Direct3DAdapterIdentifier identifier;
    if (direct3D_->GetAdapterIdentifier(direct3D.get(), adapter, 0, identifier) < 0) return;
    Log::Instance().Line(Log::kTrace, L"Device ID: ", identifier.deviceId);
    info.name = os::Current().codePage->ThreadAnsiToWide(identifier.description);
    info.deviceID = DeviceID(identifier.vendorId, identifier.deviceId, identifier.subSysId);
    info.driverVersion =
        Version(DriverVersionText(identifier.driverVersionHigh, identifier.driverVersionLow));
}

void Direct3DSource::ReadCaps(const Object& direct3D, std::uint32_t adapter, GpuInfo& info) {
    os::Direct3DCaps caps;
    if (direct3D_->GetDeviceCaps(direct3D.get(), adapter, os::Direct3D::kDeviceTypeHal, caps) < 0) {
        return;
    }
    info.pixelShader = Version(ShaderVersionText(caps.pixelShaderVersion));
    info.vertexShader = Version(ShaderVersionText(caps.vertexShaderVersion));
    info.hardwareRasterization = (caps.devCaps & kHardwareRasterization) != 0;
    info.transformAndLighting = (caps.devCaps & kTransformAndLighting) != 0;
    info.threeD = true;
}

void Direct3DSource::ReadTextureMemory(const Object& direct3D, std::uint32_t adapter,
                                       GpuInfo& info) {
    os::Direct3DPresentParameters parameters;
    parameters.backBufferCount = 1;
    parameters.swapEffect = os::Direct3D::kSwapEffectCopy;
    parameters.deviceWindow = os::Current().display->GetForegroundWindow();
    parameters.windowed = true;
    os::ComObject created = 0;
    const std::int32_t status =
        direct3D_->CreateDevice(direct3D.get(), adapter, os::Direct3D::kDeviceTypeHal, 0,
                                flavour_.behaviorFlags, parameters, created);
    const Object device(status >= 0 ? created : 0, os::ComReleaser<os::Direct3D>(*direct3D_));
    if (!device) return;
    info.totalRam = Size(direct3D_->GetAvailableTextureMem(device.get()));
}

}  // namespace rigel
