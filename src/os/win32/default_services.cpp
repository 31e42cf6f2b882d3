#include "os/services.h"
#include "os/win32/win32_clock.h"
#include "os/win32/win32_cpu.h"
#include "os/win32/win32_debug_output.h"
#include "os/win32/win32_device_io.h"
#include "os/win32/win32_file_versions.h"
#include "os/win32/win32_http.h"
#include "os/win32/win32_installer.h"
#include "os/win32/win32_libraries.h"
#include "os/win32/win32_registry.h"
#include "os/win32/win32_setup_api.h"
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
    static Win32Libraries libraries;
    services.libraries = &libraries;
    static Win32Installer installer;
    services.installer = &installer;
    static Win32FileVersions fileVersions;
    services.fileVersions = &fileVersions;
    return services;
}

}  // namespace rigel::os
