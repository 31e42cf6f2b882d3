#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class Chassis : public Detector {
  public:
    Chassis();

  protected:
    void Run() override;
};

}  // namespace rigel
