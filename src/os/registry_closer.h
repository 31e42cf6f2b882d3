#pragma once

#include "os/registry.h"
#include "os/unique_handle.h"

namespace rigel::os {

// Closes registry keys through the service that opened them, for UniqueHandle.
class RegistryCloser {
  public:
    explicit RegistryCloser(Registry& registry) : registry_(&registry) {}
    void operator()(HKey key) const { registry_->CloseKey(key); }

  private:
    Registry* registry_;
};

using UniqueKey = UniqueHandle<HKey, RegistryCloser>;

}  // namespace rigel::os
