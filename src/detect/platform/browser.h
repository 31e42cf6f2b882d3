#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class Browser : public Detector {
  public:
    Browser();
    void Initialize() override;

  protected:
    void Run() override;
};

}  // namespace rigel
