#pragma once

#include "detect/devices/direct3d_source.h"

namespace rigel {

// The graphics adapters as Direct3D 9 sees them, through d3d9.dll loaded at run time.
class DirectX_9 : public Direct3DSource {
  public:
    static DirectX_9& Instance();
    // Drops the instance with its library (the product never calls it).
    static void DestroyInstanceForTesting();

  private:
    DirectX_9();
};

}  // namespace rigel
