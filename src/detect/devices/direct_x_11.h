#pragma once

#include "detect/devices/dxgi_source.h"

namespace rigel {

// The DXGI adapters with the feature level a Direct3D 11 device reaches on each.
class DirectX_11 : public DxgiSource {
  public:
    static DirectX_11& Instance();
    // Drops the instance with its libraries (the product never calls it).
    static void DestroyInstanceForTesting();

  private:
    DirectX_11();
};

}  // namespace rigel
