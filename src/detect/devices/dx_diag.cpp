#include "detect/devices/dx_diag.h"

#include "detect/devices/graphics_text.h"
#include "diag/log.h"
#include "diag/scope_trace.h"

namespace rigel {
namespace {

DXDiag* instance = nullptr;

}  // namespace

DXDiag& DXDiag::Instance() {
    if (instance == nullptr) instance = new DXDiag();
    return *instance;
}

void DXDiag::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

DXDiag::DXDiag() { initialized_ = Initialize(); }

bool DXDiag::Initialize() {
    ScopeTrace trace(L"rigel::DXDiag::Initialize");
    try {
        snapshot_ = DiagnosticsTree::Instance().Get();
        return snapshot_ != nullptr;
    } catch (...) {
        return false;
    }
}

void DXDiag::GetGpuInfo(std::vector<GpuInfo>& list) {
    ScopeTrace trace(L"rigel::DXDiag::GetGpuInfo");
    if (!initialized_) return;
    try {
        for (const DiagnosticsSnapshot::Device& device : snapshot_->displayDevices)
            ReadDevice(device, list);
    } catch (...) {
        Log::Instance().Line(Log::kError, L"Caught exception.");
    }
}

void DXDiag::ReadDevice(const DiagnosticsSnapshot::Device& device, std::vector<GpuInfo>& list) {
    Log::Instance().Line(Log::kTrace, L"Container: ", device.name);
    if (!device.opened) return;
    LogPropertyNames(device);
    list.push_back(ReadProperties(device));
}

void DXDiag::LogPropertyNames(const DiagnosticsSnapshot::Device& device) {
    Log& log = Log::Instance();
    if (!log.IsEnabled(Log::kTrace)) return;
    for (const std::wstring& name : device.propertyNames)
        log.WriteLine(Log::kTrace, L"Name: ", name);
}

GpuInfo DXDiag::ReadProperties(const DiagnosticsSnapshot::Device& device) {
    GpuInfo info;
    std::wstring text;
    if (ReadText(device, L"szDescription", text)) info.name = text;
    if (ReadText(device, L"szChipType", text)) info.chipset = text;
    Log& log = Log::Instance();
    log.Line(Log::kTrace, L"Getting Device ID: ");
    if (ReadText(device, L"szKeyDeviceID", text)) {
        log.Line(Log::kTrace, L"Got Device ID: ", text);
        info.deviceID = DeviceID(text);
    }
    if (ReadText(device, L"szDACType", text)) info.dac = text;
    if (ReadText(device, L"szDriverVersion", text)) info.driverVersion = Version(text);
    if (ReadText(device, L"szDisplayMemoryEnglish", text)) {
        const std::wstring megabytes = DisplayMemoryText(text);
        if (!megabytes.empty()) info.totalRam = Size(megabytes);
    }
    return info;
}

bool DXDiag::ReadText(const DiagnosticsSnapshot::Device& device, const wchar_t* name,
                      std::wstring& text) {
    const auto found = device.properties.find(name);
    if (found == device.properties.end() || found->second.textStatus < 0) return false;
    text = found->second.text;
    return true;
}

}  // namespace rigel
