#include "detect/platform/system_information.h"

#include <cstdint>
#include <string>

#include "os/clock.h"
#include "os/cpu.h"
#include "os/services.h"
#include "os/system_info.h"

namespace rigel {

bool SystemInformation::GetSystemCpuInfo(CpuInfo& info) {
    const std::uint32_t processors = os::Current().systemInfo->GetSystemInfo().numberOfProcessors;
    info.processorCount = std::to_wstring(processors);
    info.multiProcessor = processors > 1;
    return true;
}

void SystemInformation::GetMeasuredSpeed(CpuInfo& info) {
    const std::wstring speed = std::to_wstring(MeasureClockMhz()) + L" MHz";
    info.speed = speed.c_str();
}

std::uint32_t SystemInformation::MeasureClockMhz() {
    os::Clock& clock = *os::Current().clock;
    os::Cpu& cpu = *os::Current().cpu;
    const std::int64_t frequency = clock.PerformanceFrequency();
    if (frequency < 1) return 0;
    const std::int64_t target = clock.PerformanceCounter() + frequency;
    const std::uint64_t start = cpu.TimeStampCounter();
    while (clock.PerformanceCounter() < target) {
    }
    const std::uint64_t stop = cpu.TimeStampCounter();
    // Single precision on purpose: the reported speed keeps the rounding it always had.
    const float megahertz = (static_cast<float>(stop) - static_cast<float>(start)) / 1'000'000.0f;
    if (megahertz < 1.0f) return 0;
    // A time-stamp counter that jumped is reported as the largest speed, not converted blindly.
    if (megahertz >= 4294967296.0f) return UINT32_MAX;
    return static_cast<std::uint32_t>(megahertz);
}

}  // namespace rigel
