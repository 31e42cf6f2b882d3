#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class GPU : public Detector {
  public:
    GPU();

  protected:
    void Run() override;
};

}  // namespace rigel
