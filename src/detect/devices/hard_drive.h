#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class HardDrive : public Detector {
  public:
    HardDrive();
    void Initialize() override;

  protected:
    void Run() override;
};

}  // namespace rigel
