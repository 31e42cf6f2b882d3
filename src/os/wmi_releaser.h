#pragma once

#include "os/unique_handle.h"
#include "os/wmi.h"

namespace rigel::os {

// Releases WMI objects through the service that handed them out, for UniqueHandle.
class WmiReleaser {
  public:
    explicit WmiReleaser(Wmi& wmi) : wmi_(&wmi) {}
    void operator()(WmiObject object) const { wmi_->Release(object); }

  private:
    Wmi* wmi_;
};

using UniqueWmiObject = UniqueHandle<WmiObject, WmiReleaser>;

}  // namespace rigel::os
