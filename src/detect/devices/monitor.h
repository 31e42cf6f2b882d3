#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class Monitor : public Detector {
  public:
    Monitor();

  protected:
    void Run() override;
};

}  // namespace rigel
