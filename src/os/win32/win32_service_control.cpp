#include "os/win32/win32_service_control.h"

#include <windows.h>

#include <winsvc.h>

namespace rigel::os {
namespace {

SC_HANDLE Native(HService handle) { return reinterpret_cast<SC_HANDLE>(handle); }

// The handle as the caller sees it, with the last error when there is none.
bool Issued(SC_HANDLE handle, HService& out, std::uint32_t& error) {
    out = reinterpret_cast<HService>(handle);
    if (handle == nullptr) error = GetLastError();
    return handle != nullptr;
}

bool Done(BOOL ok, std::uint32_t& error) {
    if (!ok) error = GetLastError();
    return ok != FALSE;
}

}  // namespace

bool Win32ServiceControl::OpenManager(std::uint32_t access, HService& manager,
                                      std::uint32_t& error) {
    return Issued(OpenSCManagerW(nullptr, SERVICES_ACTIVE_DATABASEW, access), manager, error);
}

bool Win32ServiceControl::Open(HService manager, const std::wstring& name, std::uint32_t access,
                               HService& service, std::uint32_t& error) {
    return Issued(OpenServiceW(Native(manager), name.c_str(), access), service, error);
}

bool Win32ServiceControl::Create(HService manager, const ServiceConfig& config, HService& service,
                                 std::uint32_t& error) {
    return Issued(
        CreateServiceW(Native(manager), config.name.c_str(), config.displayName.c_str(),
                       config.access, config.type, config.start, config.errorControl,
                       config.binaryPath.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr),
        service, error);
}

bool Win32ServiceControl::Start(HService service, std::uint32_t& error) {
    return Done(StartServiceW(Native(service), 0, nullptr), error);
}

bool Win32ServiceControl::Control(HService service, std::uint32_t control, std::uint32_t& error) {
    SERVICE_STATUS status{};
    return Done(ControlService(Native(service), control, &status), error);
}

bool Win32ServiceControl::Delete(HService service, std::uint32_t& error) {
    return Done(DeleteService(Native(service)), error);
}

void Win32ServiceControl::Close(HService handle) { CloseServiceHandle(Native(handle)); }

}  // namespace rigel::os
