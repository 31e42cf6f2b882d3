#include "detect/devices/gpu_info.h"

#include "diag/log.h"

namespace rigel {

void LogGpuInfo(const GpuInfo& record, const std::wstring& heading) {
    Log& log = Log::Instance();
    if (!log.IsEnabled(Log::kTrace)) return;
    // The texts come from ToString, which the values offer on mutable objects only.
    GpuInfo info = record;
    const auto line = [&log](const wchar_t* label, Value& value) {
        log.WriteLine(Log::kTrace, label, value.ToString());
    };
    log.WriteLine(Log::kTrace, heading);
    line(L"name: ", info.name);
    line(L"deviceID: ", info.deviceID);
    line(L"directXVersion: ", info.directXVersion);
    line(L"driverVersion: ", info.driverVersion);
    line(L"driver: ", info.driver);
    line(L"chipset: ", info.chipset);
    line(L"dac: ", info.dac);
    line(L"dedicated ram: ", info.dedicatedRam);
    line(L"shared ram: ", info.sharedRam);
    line(L"total ram: ", info.totalRam);
    line(L"pixel shader: ", info.pixelShader);
    line(L"vertex shader: ", info.vertexShader);
    line(L"transform and lighting: ", info.transformAndLighting);
    line(L"hardware rasterization: ", info.hardwareRasterization);
    line(L"3d: ", info.threeD);
    line(L"2ID: ", info.twoPartId);
}

}  // namespace rigel
