#pragma once

#include <cstdint>
#include <vector>

#include "core/detector.h"
#include "detect/devices/logical_drive_info.h"

namespace rigel {

// The fixed volumes: capacity, free and used space and disk number of each, largest free space
// first, then the largest free space and the total capacity over all of them.
class LogicalDrive : public Detector {
  public:
    LogicalDrive();
    void Initialize() override;

    // Every fixed volume whose free space can be read, in the order the system lists them, and
    // the sum of their capacities.
    static void GetDriveInformation(std::vector<LogicalDriveInfo>& drives, std::uint64_t& total);

  protected:
    void Run() override;
};

}  // namespace rigel
