#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class DVD : public Detector {
  public:
    DVD();

  protected:
    void Run() override;
};

}  // namespace rigel
