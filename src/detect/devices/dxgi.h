#pragma once

#include "detect/devices/dxgi_source.h"

namespace rigel {

// The graphics adapters as DXGI lists them, with their memory.
class DXGI : public DxgiSource {
  public:
    static DXGI& Instance();
    // Drops the instance with its libraries (the product never calls it).
    static void DestroyInstanceForTesting();

  private:
    DXGI();
};

}  // namespace rigel
