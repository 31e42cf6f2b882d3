#include "support/fake_machine.h"

#include "core/components.h"
#include "core/system.h"
#include "detect/devices/diagnostics_tree.h"
#include "detect/devices/direct_x_10.h"
#include "detect/devices/direct_x_11.h"
#include "detect/devices/direct_x_8.h"
#include "detect/devices/direct_x_9.h"
#include "detect/devices/dx_diag.h"
#include "detect/devices/dxgi.h"
#include "detect/devices/monitor.h"
#include "detect/devices/setup_lib.h"
#include "detect/platform/cpuid.h"
#include "detect/platform/intel_driver.h"
#include "detect/platform/intel_widi_lib.h"
#include "detect/platform/registry.h"
#include "detect/platform/wmi.h"
#include "diag/log.h"
#include "values/shared_text.h"

namespace rigel::test {
namespace {

os::Services ServicesOf(FakeMachine& machine) {
    os::Services services = os::Current();
    services.clock = &machine.clock;
    services.debugOutput = &machine.debugOutput;
    services.http = &machine.http;
    services.registry = &machine.registry;
    services.wmi = &machine.wmi;
    services.cpu = &machine.cpu;
    services.systemInfo = &machine.systemInfo;
    services.deviceIo = &machine.deviceIo;
    services.setupApi = &machine.setupApi;
    services.serviceControl = &machine.serviceControl;
    services.processLauncher = &machine.processLauncher;
    services.sharedMemory = &machine.sharedMemory;
    services.direct3D8 = &machine.direct3D8;
    services.direct3D9 = &machine.direct3D9;
    services.dxgi = &machine.dxgi;
    services.diagnostics = &machine.diagnostics;
    services.display = &machine.display;
    services.codePage = &machine.codePage;
    services.libraries = &machine.libraries;
    services.installer = &machine.installer;
    services.fileVersions = &machine.fileVersions;
    return services;
}

}  // namespace

void FreshProcessState() {
    System::DestroyInstanceForTesting();
    Components::ResetProcessStateForTesting();
    WMI::DestroyInstanceForTesting();
    CPUID::DestroyInstanceForTesting();
    Registry::DestroyInstanceForTesting();
    SetupLib::DestroyInstanceForTesting();
    IntelDriver::DestroyInstanceForTesting();
    DirectX_8::DestroyInstanceForTesting();
    DirectX_9::DestroyInstanceForTesting();
    DXDiag::DestroyInstanceForTesting();
    DiagnosticsTree::DestroyInstanceForTesting();
    DXGI::DestroyInstanceForTesting();
    DirectX_10::DestroyInstanceForTesting();
    DirectX_11::DestroyInstanceForTesting();
    Monitor::ResetLargestResolutionForTesting();
    Log::DestroyInstanceForTesting();
    IntelWiDiLib::DestroyInstanceForTesting();
    SharedText::ClearAll();
}

FakeMachine::FakeMachine() : scope_(ServicesOf(*this)) {
    // The counter moves a whole second per reading unless a test sets it, so that the clock
    // measurement of a detection pass ends.
    clock.performanceCounterStep = clock.performanceFrequency;
    FreshProcessState();
}

FakeMachine::~FakeMachine() { FreshProcessState(); }

std::vector<std::wstring> FakeMachine::LogLines() const {
    std::vector<std::wstring> lines;
    std::wstring current;
    for (wchar_t c : debugOutput.Text()) {
        if (c == L'\n') {
            lines.push_back(current);
            current.clear();
        } else {
            current += c;
        }
    }
    if (!current.empty()) lines.push_back(current);
    return lines;
}

std::vector<std::wstring> FakeMachine::LogMessages() const {
    std::vector<std::wstring> messages;
    for (const auto& line : LogLines()) {
        auto bar = line.find(L" | ");
        std::wstring message = bar == std::wstring::npos ? line : line.substr(bar + 3);
        while (message.compare(0, 2, L". ") == 0) message.erase(0, 2);
        messages.push_back(message);
    }
    return messages;
}

}  // namespace rigel::test
