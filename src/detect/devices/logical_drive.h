#pragma once

#include "core/detector.h"

namespace rigel {

// Not detected yet: stores nothing.
class LogicalDrive : public Detector {
  public:
    LogicalDrive();
    void Initialize() override;

  protected:
    void Run() override;
};

}  // namespace rigel
