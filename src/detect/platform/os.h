#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class OS : public Detector {
  public:
    OS();
    void Initialize() override;

  protected:
    void Run() override;
};

}  // namespace rigel
