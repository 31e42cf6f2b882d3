#pragma once

#include <vector>

#include "core/detector.h"
#include "detect/devices/hard_drive_info.h"

namespace rigel {

// The physical disks: the Setup API's disk list joined with WMI's by model, each disk then asked
// about itself; model, vendor, firmware, disk number, bus type and a few yes/no facts per disk
// that answered.
class HardDrive : public Detector {
  public:
    HardDrive();
    void Initialize() override;

  protected:
    void Run() override;

  private:
    // Takes the device name and index of every WMI disk with exactly the same model; a later
    // match overwrites an earlier one.
    static void JoinByModel(std::vector<HardDriveInfo>& setupDisks,
                            const std::vector<HardDriveInfo>& wmiDisks);
    // Asks each disk of the Setup API's list about itself, in order, and stores what each disk
    // that could be opened said, indexed from 0.
    static void ReportDisks(std::vector<HardDriveInfo>& setupDisks);
};

}  // namespace rigel
