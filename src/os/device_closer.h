#pragma once

#include "os/device_io.h"
#include "os/unique_handle.h"

namespace rigel::os {

// Closes device handles through the service that opened them, for UniqueHandle.
class DeviceCloser {
  public:
    explicit DeviceCloser(DeviceIo& io) : io_(&io) {}
    void operator()(HDevice device) const { io_->Close(device); }

  private:
    DeviceIo* io_;
};

using UniqueDevice = UniqueHandle<HDevice, DeviceCloser>;

}  // namespace rigel::os
