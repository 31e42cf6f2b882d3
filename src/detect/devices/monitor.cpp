#include "detect/devices/monitor.h"

#include <algorithm>

#include "core/group_id.h"
#include "detect/devices/edid_block.h"
#include "detect/platform/registry.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/code_page.h"
#include "os/display.h"
#include "os/services.h"
#include "values/name.h"
#include "values/resolution.h"

namespace rigel {
namespace {

constexpr std::uint32_t kIdentifier = 71406;
constexpr std::uint32_t kName = 71405;
constexpr std::uint32_t kEdid = 71425;
constexpr std::uint32_t kLargestResolution = 71421;

constexpr std::uint32_t kKeyNameCapacity = 256;
const std::wstring kDisplayKey = L"SYSTEM\\CurrentControlSet\\Enum\\DISPLAY";

// The largest monitor seen in this process; a later detection can only raise it.
std::uint32_t largestWidth = 0;
std::uint32_t largestHeight = 0;

void Trace(const wchar_t* text, const std::wstring& detail = std::wstring()) {
    Log::Instance().Line(Log::kTrace, text, detail);
}

os::UniqueKey OpenKey(os::HKey root, const std::wstring& subkey) {
    return Registry::Instance().OpenKey(root, subkey, os::Registry::kKeyRead);
}

}  // namespace

Monitor::Monitor() : Detector(nullptr, L"Error in Monitor detection.") {}

void Monitor::ResetLargestResolutionForTesting() {
    largestWidth = 0;
    largestHeight = 0;
}

void Monitor::Run() {
    GetMonitorInfoW();
    KeepLargestResolution();
    StoreLargestResolution();
}

void Monitor::GetMonitorInfoW() {
    ScopeTrace trace(L"rigel::Monitor::GetMonitorInfoW");
    os::Registry& registry = *os::Current().registry;
    const os::UniqueKey display = OpenKey(os::Registry::kLocalMachine, kDisplayKey);
    if (!display) {
        Trace(L"Error: ");
        return;
    }
    std::uint32_t found = 0;
    for (std::uint32_t index = 0;; ++index) {
        std::wstring model;
        const std::int32_t status = registry.EnumKey(display.get(), index, kKeyNameCapacity, model);
        if (status == os::Registry::kNoMoreItems) break;
        if (status != os::Registry::kSuccess) {
            Log::Instance().Line(Log::kTrace, L"Error: ", status);
            break;
        }
        std::vector<std::uint8_t> bytes;
        if (!ReadModelEdid(display, model, bytes)) continue;
        Log::Instance().Line(Log::kTrace, L"Checked EDID for monitor: ", found);
        StoreMonitor(found, EdidBlock(bytes), model);
        ++found;
    }
}

bool Monitor::ReadModelEdid(const os::UniqueKey& display, const std::wstring& model,
                            std::vector<std::uint8_t>& edid) {
    os::Registry& registry = *os::Current().registry;
    Log& log = Log::Instance();
    Trace(L"Display Key Name: ", model);
    const os::UniqueKey modelKey = OpenKey(display.get(), model);
    if (!modelKey) return false;
    Trace(L"Opened Monitor Key: ", model);
    std::wstring instance;
    if (registry.EnumKey(modelKey.get(), 0, kKeyNameCapacity, instance) != os::Registry::kSuccess) {
        return false;
    }
    Trace(L"Opened First Key: ", instance);
    const os::UniqueKey instanceKey = OpenKey(modelKey.get(), instance);
    if (!instanceKey) return false;
    Trace(L"Read First Key: ", instance);
    // Only an attached monitor has a "Control" key.
    os::HKey control = 0;
    const std::int32_t controlStatus =
        registry.OpenKey(instanceKey.get(), L"Control", os::Registry::kKeyRead, control);
    if (controlStatus != os::Registry::kSuccess) {
        log.Line(Log::kTrace, L"Error: ", controlStatus);
        return false;
    }
    os::UniqueKey controlKey(control, os::RegistryCloser(registry));
    Trace(L"Control key: ");
    controlKey.reset();
    const os::UniqueKey parameters = OpenKey(instanceKey.get(), L"Device Parameters");
    Trace(L"Device Params");
    if (!parameters) return false;
    std::vector<std::uint8_t> buffer(EdidBlock::kCapacity);
    std::uint32_t type = 0;
    std::uint32_t size = static_cast<std::uint32_t>(buffer.size());
    const std::int32_t status =
        registry.QueryValue(parameters.get(), L"EDID", type, buffer.data(), size);
    if (status != os::Registry::kSuccess) {
        log.Line(Log::kTrace, L"Error: ", status);
        return false;
    }
    buffer.resize(std::min<std::size_t>(size, buffer.size()));
    edid = std::move(buffer);
    return true;
}

void Monitor::StoreMonitor(std::uint32_t index, const EdidBlock& edid,
                           const std::wstring& fallback) {
    Log& log = Log::Instance();
    log.Line(Log::kTrace, L"Manufacturer ID: ", edid.ManufacturerCode());
    Name identifier(edid.Identifier());
    AddValue(GroupID(kIdentifier), identifier, index);
    log.Line(Log::kTrace, L"Monitor ID: ", edid.Identifier(), L" At Index: ", index);
    LogDescriptors(edid);
    std::wstring name = os::Current().codePage->ThreadAnsiToWide(edid.MonitorName());
    Name monitorName(name.empty() ? fallback : name);
    AddValue(GroupID(kName), monitorName, index);
    Name text(edid.HexText());
    log.Line(Log::kTrace, L"Monitor Name: ", monitorName.ToString());
    log.Line(Log::kDump, L"Monitor EDID: ", text.ToString());
    AddValue(GroupID(kEdid), text, index);
}

void Monitor::LogDescriptors(const EdidBlock& edid) {
    Log& log = Log::Instance();
    if (!log.IsEnabled(Log::kTrace)) return;
    for (const auto& descriptor : edid.Descriptors()) {
        log.WriteLine(Log::kTrace, L"EDID Type: ", static_cast<int>(descriptor.type));
        if (descriptor.IsText()) {
            log.WriteLine(Log::kTrace, L"EDID data: ",
                          os::Current().codePage->ThreadAnsiToWide(descriptor.text));
        }
    }
}

void Monitor::KeepLargestResolution() {
    os::Display& display = *os::Current().display;
    std::vector<os::MonitorHandle> monitors;
    display.EnumDisplayMonitors(monitors);
    for (os::MonitorHandle monitor : monitors) {
        os::MonitorInfo info;
        if (!display.ReadMonitorInfo(monitor, info)) continue;
        const std::int64_t width = std::int64_t{info.monitor.right} - info.monitor.left;
        const std::int64_t height = std::int64_t{info.monitor.bottom} - info.monitor.top;
        // Only a monitor both wider and taller replaces the one kept.
        if (width > 0 && height > 0 && width > largestWidth && height > largestHeight) {
            largestWidth = static_cast<std::uint32_t>(width);
            largestHeight = static_cast<std::uint32_t>(height);
        }
    }
}

void Monitor::StoreLargestResolution() {
    Resolution resolution;
    resolution = std::to_wstring(largestWidth) + L" x " + std::to_wstring(largestHeight);
    AddValue(GroupID(kLargestResolution), resolution);
}

}  // namespace rigel
