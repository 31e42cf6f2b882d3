#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class DirectX : public Detector {
  public:
    DirectX();

  protected:
    void Run() override;
};

}  // namespace rigel
