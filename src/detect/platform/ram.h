#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class Ram : public Detector {
  public:
    Ram();

  protected:
    void Run() override;
};

}  // namespace rigel
