#pragma once

#include "core/detector.h"

namespace rigel {

// The primary screen's resolution and colour depth, read from the screen's device context.
class Graphics : public Detector {
  public:
    Graphics();

  protected:
    void Run() override;
};

}  // namespace rigel
