#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class MotherBoard : public Detector {
  public:
    MotherBoard();

  protected:
    void Run() override;
};

}  // namespace rigel
