// Outside Windows there is no machine to read: the product runs on a fake clock there, its
// debugger output goes nowhere and every HTTP request is answered with an empty 200 response.
// Tests install their own fakes.
#include "os/debug_output.h"
#include "os/fake/fake_clock.h"
#include "os/fake/fake_code_page.h"
#include "os/fake/fake_cpu.h"
#include "os/fake/fake_device_io.h"
#include "os/fake/fake_diagnostics.h"
#include "os/fake/fake_direct3d.h"
#include "os/fake/fake_display.h"
#include "os/fake/fake_dxgi.h"
#include "os/fake/fake_file_versions.h"
#include "os/fake/fake_http.h"
#include "os/fake/fake_installer.h"
#include "os/fake/fake_libraries.h"
#include "os/fake/fake_process_launcher.h"
#include "os/fake/fake_registry.h"
#include "os/fake/fake_service_control.h"
#include "os/fake/fake_setup_api.h"
#include "os/fake/fake_shared_memory.h"
#include "os/fake/fake_system_info.h"
#include "os/fake/fake_wmi.h"
#include "os/services.h"

namespace rigel::os {
namespace {

class DiscardingDebugOutput : public DebugOutput {
  public:
    void Write(const std::wstring&) override {}
};

}  // namespace

Services DefaultServices() {
    static FakeClock clock;
    static DiscardingDebugOutput debugOutput;
    static FakeHttp http;
    Services services{&clock, &debugOutput, &http};
    // An empty registry and WMI, a processor that answers zeros, and a counter that moves a
    // whole second per reading so that the clock measurement does not spin.
    static FakeRegistry registry;
    static FakeWmi wmi;
    static FakeCpu cpu;
    static FakeSystemInfo systemInfo;
    clock.performanceCounterStep = clock.performanceFrequency;
    services.registry = &registry;
    services.wmi = &wmi;
    services.cpu = &cpu;
    services.systemInfo = &systemInfo;
    static FakeDeviceIo deviceIo;
    services.deviceIo = &deviceIo;
    static FakeSetupApi setupApi(registry);
    services.setupApi = &setupApi;
    static FakeServiceControl serviceControl;
    services.serviceControl = &serviceControl;
    static FakeProcessLauncher processLauncher;
    services.processLauncher = &processLauncher;
    static FakeSharedMemory sharedMemory;
    services.sharedMemory = &sharedMemory;
    // No graphics library loads and no diagnostics provider is registered; one plain screen.
    static FakeDirect3D direct3D8;
    static FakeDirect3D direct3D9;
    static FakeDxgi dxgi;
    static FakeDiagnostics diagnostics;
    static FakeDisplay display;
    static FakeCodePage codePage;
    diagnostics.createStatus = Diagnostics::kClassNotRegistered;
    services.direct3D8 = &direct3D8;
    services.direct3D9 = &direct3D9;
    services.dxgi = &dxgi;
    services.diagnostics = &diagnostics;
    services.display = &display;
    services.codePage = &codePage;
    static FakeLibraries libraries;
    services.libraries = &libraries;
    static FakeInstaller installer;
    services.installer = &installer;
    static FakeFileVersions fileVersions;
    services.fileVersions = &fileVersions;
    return services;
}

}  // namespace rigel::os
