#pragma once

#include "detect/devices/dxgi_source.h"

namespace rigel {

// The DXGI adapters with the shader profiles of a Direct3D 10 device on each.
class DirectX_10 : public DxgiSource {
  public:
    static DirectX_10& Instance();
    // Drops the instance with its libraries (the product never calls it).
    static void DestroyInstanceForTesting();

  private:
    DirectX_10();
};

}  // namespace rigel
