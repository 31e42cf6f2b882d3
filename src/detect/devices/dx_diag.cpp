#include "detect/devices/dx_diag.h"

#include "detect/devices/diagnostics_provider.h"
#include "detect/devices/graphics_text.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/services.h"

namespace rigel {
namespace {

DXDiag* instance = nullptr;

constexpr std::uint32_t kContainerNameCapacity = 256;
constexpr std::uint32_t kPropertyNameCapacity = 100;

}  // namespace

DXDiag& DXDiag::Instance() {
    if (instance == nullptr) instance = new DXDiag();
    return *instance;
}

void DXDiag::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

DXDiag::DXDiag() : diagnostics_(os::Current().diagnostics) { initialized_ = Initialize(); }

bool DXDiag::Initialize() {
    ScopeTrace trace(L"rigel::DXDiag::Initialize");
    try {
        provider_ = DiagnosticsProvider::Instance().Get();
        return provider_ != 0;
    } catch (...) {
        return false;
    }
}

DXDiag::Object DXDiag::Own(os::ComObject object) {
    return Object(object, os::ComReleaser<os::Diagnostics>(*diagnostics_));
}

DXDiag::Object DXDiag::Child(const Object& container, const std::wstring& name) {
    os::ComObject child = 0;
    if (diagnostics_->GetChildContainer(container.get(), name, child) < 0) return Own(0);
    return Own(child);
}

void DXDiag::GetGpuInfo(std::vector<GpuInfo>& list) {
    ScopeTrace trace(L"rigel::DXDiag::GetGpuInfo");
    if (!initialized_) return;
    try {
        os::ComObject rootObject = 0;
        if (diagnostics_->GetRootContainer(provider_, rootObject) < 0) return;
        const Object root = Own(rootObject);
        const Object devices = Child(root, L"DxDiag_DisplayDevices");
        if (!devices) return;
        std::uint32_t count = 0;
        if (diagnostics_->GetNumberOfChildContainers(devices.get(), count) < 0) return;
        for (std::uint32_t index = 0; index < count; ++index) ReadDevice(devices, index, list);
    } catch (...) {
        Log::Instance().Line(Log::kError, L"Caught exception.");
    }
}

void DXDiag::ReadDevice(const Object& devices, std::uint32_t index, std::vector<GpuInfo>& list) {
    std::wstring name;
    if (diagnostics_->EnumChildContainerNames(devices.get(), index, kContainerNameCapacity, name) <
        0) {
        return;
    }
    Log::Instance().Line(Log::kTrace, L"Container: ", name);
    const Object device = Child(devices, name);
    if (!device) return;
    LogPropertyNames(device);
    list.push_back(ReadProperties(device));
}

void DXDiag::LogPropertyNames(const Object& device) {
    Log& log = Log::Instance();
    if (!log.IsEnabled(Log::kTrace)) return;
    std::uint32_t count = 0;
    if (diagnostics_->GetNumberOfProps(device.get(), count) < 0) return;
    for (std::uint32_t index = 0; index < count; ++index) {
        std::wstring name;
        if (diagnostics_->EnumPropNames(device.get(), index, kPropertyNameCapacity, name) >= 0) {
            log.WriteLine(Log::kTrace, L"Name: ", name);
        }
    }
}

GpuInfo DXDiag::ReadProperties(const Object& device) {
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

bool DXDiag::ReadText(const Object& container, const std::wstring& name, std::wstring& text) {
    os::DiagnosticsValue value;
    if (diagnostics_->GetProperty(container.get(), name, value) < 0 || value.textStatus < 0) {
        return false;
    }
    text = value.text;
    return true;
}

}  // namespace rigel
