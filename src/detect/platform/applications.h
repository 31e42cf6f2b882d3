#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class Applications : public Detector {
  public:
    Applications();
    void Initialize() override;

  protected:
    void Run() override;
};

}  // namespace rigel
