#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "os/process_launcher.h"

namespace rigel::os {

// Programs a test provides by path. A launched program does its work when it is waited for,
// so a caller that reads its results without waiting sees none. A launch of an unknown path
// fails with "file not found"; a test can make every launch fail (the user declining
// elevation) or come back without a process handle.
class FakeProcessLauncher : public ProcessLauncher {
  public:
    std::map<std::wstring, std::function<void()>> programs;
    std::uint32_t launchError = 0;
    bool givesProcess = true;

    std::vector<ShellLaunch> launches;
    std::size_t waits = 0;

    // Process handles not closed yet.
    std::size_t OpenCount() const { return running_.size(); }

    bool Launch(const ShellLaunch& launch, HProcess& process, std::uint32_t& error) override {
        launches.push_back(launch);
        process = 0;
        auto program = programs.find(launch.file);
        if (launchError != 0 || program == programs.end()) {
            error = launchError != 0 ? launchError : kErrorFileNotFound;
            return false;
        }
        if (givesProcess && (launch.mask & kMaskNoCloseProcess) != 0) {
            process = nextHandle_++;
            running_[process] = program->second;
        }
        return true;
    }

    std::uint32_t Wait(HProcess process) override {
        ++waits;
        auto found = running_.find(process);
        if (found != running_.end() && found->second) {
            found->second();
            found->second = nullptr;
        }
        return kWaitObject0;
    }

    void Close(HProcess process) override { running_.erase(process); }

  private:
    std::map<HProcess, std::function<void()>> running_;
    HProcess nextHandle_ = 1;
};

}  // namespace rigel::os
