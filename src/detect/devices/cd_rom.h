#pragma once

#include "core/detector.h"

namespace rigel {

// The name of every optical drive that the Setup API lists.
class CDRom : public Detector {
  public:
    CDRom();

  protected:
    void Run() override;
};

}  // namespace rigel
