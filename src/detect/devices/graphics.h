#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class Graphics : public Detector {
  public:
    Graphics();

  protected:
    void Run() override;
};

}  // namespace rigel
