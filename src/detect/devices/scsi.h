#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class SCSI : public Detector {
  public:
    SCSI();

  protected:
    void Run() override;
};

}  // namespace rigel
