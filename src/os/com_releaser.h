#pragma once

#include <cstdint>

#include "os/unique_handle.h"

namespace rigel::os {

// An opaque COM object handed out by a graphics or diagnostics service; 0 means none. Whoever
// receives one owns a reference and gives it back through the service's Release.
using ComObject = std::uintptr_t;

// Releases COM objects through the service that handed them out, for UniqueHandle.
template <typename Service>
class ComReleaser {
  public:
    explicit ComReleaser(Service& service) : service_(&service) {}
    void operator()(ComObject object) const { service_->Release(object); }

  private:
    Service* service_;
};

template <typename Service>
using UniqueComObject = UniqueHandle<ComObject, ComReleaser<Service>>;

}  // namespace rigel::os
