#pragma once

#include "os/unique_handle.h"

namespace rigel::os {

// Closes a handle through the service that issued it, with the service's own closing call, for
// UniqueHandle: MemberCloser<DeviceIo, HDevice, &DeviceIo::Close>.
template <typename Service, typename Handle, void (Service::*Closing)(Handle)>
class MemberCloser {
  public:
    explicit MemberCloser(Service& service) : service_(&service) {}
    void operator()(Handle handle) const { (service_->*Closing)(handle); }

  private:
    Service* service_;
};

}  // namespace rigel::os
