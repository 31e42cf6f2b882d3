#pragma once

#include "core/detector.h"

namespace rigel {

// The chassis: whether the machine runs on long-term batteries, that is, is portable.
class Chassis : public Detector {
  public:
    Chassis();

  protected:
    void Run() override;
};

}  // namespace rigel
