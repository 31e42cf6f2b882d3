#pragma once

#include <string>
#include <vector>

#include "os/fake/fake_clock.h"
#include "os/fake/fake_code_page.h"
#include "os/fake/fake_cpu.h"
#include "os/fake/fake_debug_output.h"
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
#include "os/scoped_services.h"

namespace rigel::test {

// Gives a test a fresh process state (session, store, log, once-flags, shared result texts)
// and installs fake OS services for its scope.
void FreshProcessState();

class FakeMachine {
  public:
    FakeMachine();
    ~FakeMachine();
    FakeMachine(const FakeMachine&) = delete;
    FakeMachine& operator=(const FakeMachine&) = delete;

    os::FakeClock clock;
    os::FakeDebugOutput debugOutput;
    os::FakeHttp http;
    os::FakeRegistry registry;
    os::FakeWmi wmi;
    os::FakeCpu cpu;
    os::FakeSystemInfo systemInfo;
    os::FakeDeviceIo deviceIo;
    os::FakeSetupApi setupApi{registry};
    os::FakeServiceControl serviceControl;
    os::FakeProcessLauncher processLauncher;
    os::FakeSharedMemory sharedMemory;
    os::FakeDirect3D direct3D8;
    os::FakeDirect3D direct3D9;
    os::FakeDxgi dxgi;
    os::FakeDiagnostics diagnostics;
    os::FakeDisplay display;
    os::FakeCodePage codePage;
    os::FakeLibraries libraries;
    os::FakeInstaller installer;
    os::FakeFileVersions fileVersions;

    // Every log line written so far, without its line feed.
    std::vector<std::wstring> LogLines() const;
    // The part of each log line after its prefix (after " | " and the indent groups).
    std::vector<std::wstring> LogMessages() const;

  private:
    os::ScopedServices scope_;
};

}  // namespace rigel::test
