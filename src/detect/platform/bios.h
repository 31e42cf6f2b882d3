#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class Bios : public Detector {
  public:
    Bios();

  protected:
    void Run() override;
};

}  // namespace rigel
