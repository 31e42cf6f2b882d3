#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class CPU : public Detector {
  public:
    CPU();

  protected:
    void Run() override;
};

}  // namespace rigel
