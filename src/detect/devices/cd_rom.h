#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class CDRom : public Detector {
  public:
    CDRom();

  protected:
    void Run() override;
};

}  // namespace rigel
