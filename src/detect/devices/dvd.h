#pragma once

#include "core/detector.h"
#include "detect/devices/cd_rom_info.h"

namespace rigel {

// Name and drive letter of every optical drive that reads DVDs: the Setup API's drives completed
// from the WMI optical-drive row.
class DVD : public Detector {
  public:
    DVD();

    // Asks the drive's device for its type, and failing that looks for "dvd" or "comb" (a
    // combination drive) in its identifier, name and media type.
    static bool IsDvdDrive(const CDRomInfo& drive);

  protected:
    void Run() override;
};

}  // namespace rigel
