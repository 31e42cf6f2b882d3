#pragma once

#include <cstdint>

#include "os/setup_api.h"
#include "os/unique_handle.h"

namespace rigel::os {

// Closes a Setup API handle through the service that issued it, for UniqueHandle.
template <void (SetupApi::*Close)(std::uintptr_t)>
class SetupApiCloser {
  public:
    explicit SetupApiCloser(SetupApi& api) : api_(&api) {}
    void operator()(std::uintptr_t handle) const { (api_->*Close)(handle); }

  private:
    SetupApi* api_;
};

using UniqueDeviceSet = UniqueHandle<HDevInfo, SetupApiCloser<&SetupApi::DestroyDeviceInfoList>>;
using UniqueInf = UniqueHandle<HInf, SetupApiCloser<&SetupApi::CloseInfFile>>;
using UniqueSetupLibrary = UniqueHandle<HModule, SetupApiCloser<&SetupApi::CloseLibrary>>;

}  // namespace rigel::os
