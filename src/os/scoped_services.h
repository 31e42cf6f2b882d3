#pragma once

#include "os/services.h"

namespace rigel::os {

// Installs a set of services for the lifetime of the object and restores the previous set after.
class ScopedServices {
  public:
    explicit ScopedServices(const Services& replacement);
    ~ScopedServices();
    ScopedServices(const ScopedServices&) = delete;
    ScopedServices& operator=(const ScopedServices&) = delete;

  private:
    Services previous_;
};

}  // namespace rigel::os
