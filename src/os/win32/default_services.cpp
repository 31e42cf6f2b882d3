#include <memory>
#include "os/services.h"

#include "os/win32/win32_clock.h"
#include "os/win32/win32_code_page.h"
#include "os/win32/win32_cpu.h"
#include "os/win32/win32_debug_output.h"
#include "os/win32/win32_device_io.h"
#include "os/win32/win32_diagnostics.h"
#include "os/win32/win32_direct3d.h"
#include "os/win32/win32_display.h"
#include "os/win32/win32_dxgi.h"
#include "os/win32/win32_file_versions.h"
#include "os/win32/win32_http.h"
#include "os/win32/win32_installer.h"
#include "os/win32/win32_libraries.h"
#include "os/win32/win32_process_launcher.h"
#include "os/win32/win32_registry.h"
#include "os/win32/win32_service_control.h"
#include "os/win32/win32_setup_api.h"
#include "os/win32/win32_shared_memory.h"
#include "os/win32/win32_system_info.h"
#include "os/win32/win32_wmi.h"

namespace rigel::os {

Services DefaultServices() {
    static Win32Clock clock;
    static Win32DebugOutput debugOutput;
    static Win32Http http;
    Services services{&clock, &debugOutput, &http};
    static Win32Registry registry;
    static Win32Wmi wmi;
    static Win32Cpu cpu;
    static Win32SystemInfo systemInfo;
    services.registry = &registry;
    services.wmi = &wmi;
    services.cpu = &cpu;
    services.systemInfo = &systemInfo;
    static Win32DeviceIo deviceIo;
    services.deviceIo = &deviceIo;
    static Win32SetupApi setupApi;
    services.setupApi = &setupApi;
    static Win32ServiceControl serviceControl;
    services.serviceControl = &serviceControl;
    static Win32ProcessLauncher processLauncher;
    services.processLauncher = &processLauncher;
    static Win32SharedMemory sharedMemory;
    services.sharedMemory = &sharedMemory;
    static Win32Libraries libraries;
    services.libraries = &libraries;
    static Win32Installer installer;
    services.installer = &installer;
    static Win32FileVersions fileVersions;
    services.fileVersions = &fileVersions;
    static const std::unique_ptr<Direct3D> direct3D8 = MakeWin32Direct3D8();
    static const std::unique_ptr<Direct3D> direct3D9 = MakeWin32Direct3D9();
    static Win32Dxgi dxgi;
    static Win32Diagnostics diagnostics;
    static Win32Display display;
    static Win32CodePage codePage;
    services.direct3D8 = direct3D8.get();
    services.direct3D9 = direct3D9.get();
    services.dxgi = &dxgi;
    services.diagnostics = &diagnostics;
    services.display = &display;
    services.codePage = &codePage;
    return services;
}

}  // namespace rigel::os
