#include "os/win32/win32_process_launcher.h"

#include <windows.h>

#include <shellapi.h>

namespace rigel::os {

bool Win32ProcessLauncher::Launch(const ShellLaunch& launch, HProcess& process,
                                  std::uint32_t& error) {
    SHELLEXECUTEINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = launch.mask;
    info.lpVerb = launch.verb.c_str();
    info.lpFile = launch.file.c_str();
    info.lpParameters = launch.parameters.c_str();
    info.nShow = launch.show;
    const BOOL ok = ShellExecuteExW(&info);
    if (!ok) error = GetLastError();
    process = ok ? reinterpret_cast<HProcess>(info.hProcess) : 0;
    return ok != FALSE;
}

std::uint32_t Win32ProcessLauncher::Wait(HProcess process) {
    return WaitForSingleObject(reinterpret_cast<HANDLE>(process), INFINITE);
}

void Win32ProcessLauncher::Close(HProcess process) {
    CloseHandle(reinterpret_cast<HANDLE>(process));
}

}  // namespace rigel::os
