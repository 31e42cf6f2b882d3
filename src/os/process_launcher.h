#pragma once

#include <cstdint>
#include <string>

namespace rigel::os {

// An opaque process handle; 0 means none.
using HProcess = std::uintptr_t;

// What ShellExecuteExW is given; there is never a window or a working directory.
struct ShellLaunch {
    std::wstring verb;
    std::wstring file;
    std::wstring parameters;
    std::uint32_t mask = 0;
    int show = 0;
};

// Starting programs through the shell, which asks the user for elevation when the verb wants it,
// and waiting for them. One Windows call per method; errors are the thread's last error.
class ProcessLauncher {
  public:
    static constexpr std::uint32_t kMaskNoCloseProcess = 0x40;  // SEE_MASK_NOCLOSEPROCESS
    static constexpr std::uint32_t kMaskDoEnvSubst = 0x200;     // SEE_MASK_DOENVSUBST
    static constexpr int kShowHide = 0;                         // SW_HIDE
    static constexpr std::uint32_t kErrorFileNotFound = 2;      // ERROR_FILE_NOT_FOUND
    static constexpr std::uint32_t kErrorCancelled = 1223;      // ERROR_CANCELLED
    static constexpr std::uint32_t kWaitObject0 = 0;            // WAIT_OBJECT_0

    virtual ~ProcessLauncher() = default;

    // ShellExecuteExW. process is the started process when the mask asked to keep it and the
    // shell gave one, else 0.
    virtual bool Launch(const ShellLaunch& launch, HProcess& process, std::uint32_t& error) = 0;
    // WaitForSingleObject without time-out; returns its result.
    virtual std::uint32_t Wait(HProcess process) = 0;
    // CloseHandle.
    virtual void Close(HProcess process) = 0;
};

}  // namespace rigel::os
