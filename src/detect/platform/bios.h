#pragma once

#include "core/detector.h"

namespace rigel {

// The BIOS name, version, date and manufacturer: the registry's texts first, WMI filling in what
// the registry left empty.
class Bios : public Detector {
  public:
    Bios();

  protected:
    void Run() override;
};

}  // namespace rigel
