#pragma once

namespace rigel::os {

class Clock;
class CodePage;
class Cpu;
class DebugOutput;
class DeviceIo;
class Diagnostics;
class Direct3D;
class Display;
class Dxgi;
class FileVersions;
class Installer;
class Libraries;
class Http;
class ProcessLauncher;
class Registry;
class SetupApi;
class ServiceControl;
class SharedMemory;
class SystemInfo;
class Wmi;

// The OS services the portable code calls. Every pointer is set: the product gets the real
// implementations, tests install fakes for their scope with ScopedServices.
struct Services {
    Clock* clock = nullptr;
    DebugOutput* debugOutput = nullptr;
    Http* http = nullptr;
    Registry* registry = nullptr;
    Wmi* wmi = nullptr;
    Cpu* cpu = nullptr;
    SystemInfo* systemInfo = nullptr;
    DeviceIo* deviceIo = nullptr;
    SetupApi* setupApi = nullptr;
    ServiceControl* serviceControl = nullptr;
    ProcessLauncher* processLauncher = nullptr;
    SharedMemory* sharedMemory = nullptr;
    Direct3D* direct3D8 = nullptr;
    Direct3D* direct3D9 = nullptr;
    Dxgi* dxgi = nullptr;
    Diagnostics* diagnostics = nullptr;
    Display* display = nullptr;
    CodePage* codePage = nullptr;
    Libraries* libraries = nullptr;
    Installer* installer = nullptr;
    FileVersions* fileVersions = nullptr;
};

// The services in effect.
Services& Current();

// The implementations the product uses when no test has installed others.
Services DefaultServices();

}  // namespace rigel::os
