#pragma once

#include <cstdint>

#include "detect/platform/cpu_info.h"

namespace rigel {

// The processor as the system reports it: the processor count and a clock speed measured
// against the performance counter.
class SystemInformation {
  public:
    // Fills processorCount and multiProcessor. Always true.
    bool GetSystemCpuInfo(CpuInfo& info);
    // Fills speed with the measured clock. Busy-waits a second.
    void GetMeasuredSpeed(CpuInfo& info);

    // Time-stamp counts during one second of the performance counter, in whole megahertz; 0 when
    // the counter has no frequency. Busy-waits that second.
    std::uint32_t MeasureClockMhz();
};

}  // namespace rigel
