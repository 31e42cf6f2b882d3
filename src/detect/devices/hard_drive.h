#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/detector.h"
#include "detect/devices/hard_drive_info.h"
#include "detect/devices/physical_drive_info.h"

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
    // Stores what one disk said about itself under the index, its firmware text unless the Setup
    // API's is longer.
    static void StoreDisk(const PhysicalDriveInfo& drive, const std::wstring& setupFirmware,
                          std::uint32_t index);
};

}  // namespace rigel
