#pragma once

#include "os/process_launcher.h"

namespace rigel::os {

class Win32ProcessLauncher : public ProcessLauncher {
  public:
    bool Launch(const ShellLaunch& launch, HProcess& process, std::uint32_t& error) override;
    std::uint32_t Wait(HProcess process) override;
    void Close(HProcess process) override;
};

}  // namespace rigel::os
