#pragma once

#include <cstdint>
#include <string>

namespace rigel::os {

// An opaque service control manager or service handle (SC_HANDLE); 0 means none.
using HService = std::uintptr_t;

// What CreateServiceW is given besides the manager; load-order group, tag, dependencies and
// account are always none.
struct ServiceConfig {
    std::wstring name;
    std::wstring displayName;
    std::uint32_t access = 0;
    std::uint32_t type = 0;
    std::uint32_t start = 0;
    std::uint32_t errorControl = 0;
    std::wstring binaryPath;
};

// The service control manager, one Windows call per method. Error codes are the thread's last
// error, passed up unchanged.
class ServiceControl {
  public:
    static constexpr std::uint32_t kManagerAllAccess = 0xF003F;  // SC_MANAGER_ALL_ACCESS
    static constexpr std::uint32_t kServiceAllAccess = 0xF01FF;  // SERVICE_ALL_ACCESS
    static constexpr std::uint32_t kKernelDriver = 1;            // SERVICE_KERNEL_DRIVER
    static constexpr std::uint32_t kDemandStart = 3;             // SERVICE_DEMAND_START
    static constexpr std::uint32_t kErrorNormal = 1;             // SERVICE_ERROR_NORMAL
    static constexpr std::uint32_t kControlStop = 1;             // SERVICE_CONTROL_STOP

    static constexpr std::uint32_t kErrorAlreadyRunning = 1056;  // ERROR_SERVICE_ALREADY_RUNNING
    static constexpr std::uint32_t kErrorNotActive = 1062;       // ERROR_SERVICE_NOT_ACTIVE
    static constexpr std::uint32_t kErrorDoesNotExist = 1060;    // ERROR_SERVICE_DOES_NOT_EXIST
    static constexpr std::uint32_t kErrorServiceExists = 1073;   // ERROR_SERVICE_EXISTS

    virtual ~ServiceControl() = default;

    // OpenSCManagerW on the local machine's active database.
    virtual bool OpenManager(std::uint32_t access, HService& manager, std::uint32_t& error) = 0;
    // OpenServiceW.
    virtual bool Open(HService manager, const std::wstring& name, std::uint32_t access,
                      HService& service, std::uint32_t& error) = 0;
    // CreateServiceW.
    virtual bool Create(HService manager, const ServiceConfig& config, HService& service,
                        std::uint32_t& error) = 0;
    // StartServiceW without arguments.
    virtual bool Start(HService service, std::uint32_t& error) = 0;
    // ControlService; the status it reports back is not used.
    virtual bool Control(HService service, std::uint32_t control, std::uint32_t& error) = 0;
    // DeleteService.
    virtual bool Delete(HService service, std::uint32_t& error) = 0;
    // CloseServiceHandle, for managers and services alike.
    virtual void Close(HService handle) = 0;
};

}  // namespace rigel::os
