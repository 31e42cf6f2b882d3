#pragma once

#include "core/detector.h"

namespace rigel {

// Memory: total and available physical memory and the process's virtual address space.
class Ram : public Detector {
  public:
    Ram();

  protected:
    void Run() override;
};

}  // namespace rigel
