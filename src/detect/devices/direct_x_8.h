#pragma once

#include "detect/devices/direct3d_source.h"

namespace rigel {

// The graphics adapters as Direct3D 8 sees them, through d3d8.dll loaded at run time.
class DirectX_8 : public Direct3DSource {
  public:
    static DirectX_8& Instance();
    // Drops the instance with its library (the product never calls it).
    static void DestroyInstanceForTesting();

  private:
    DirectX_8();
};

}  // namespace rigel
