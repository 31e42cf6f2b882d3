#pragma once

#include "core/detector.h"

namespace rigel {

// Hardware identifier and driver version of every SCSI or storage adapter.
class SCSI : public Detector {
  public:
    SCSI();

  protected:
    void Run() override;
};

}  // namespace rigel
