#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class Software : public Detector {
  public:
    Software();

  protected:
    void Run() override;
};

}  // namespace rigel
