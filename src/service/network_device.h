#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class NetworkDevice : public Detector {
  public:
    NetworkDevice();

  protected:
    void Run() override;
};

}  // namespace rigel
