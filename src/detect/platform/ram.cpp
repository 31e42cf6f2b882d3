#include "detect/platform/ram.h"

#include "core/system.h"
#include "os/services.h"
#include "os/system_info.h"
#include "values/size.h"

namespace rigel {

Ram::Ram() : Detector(nullptr, L"Error in Ram detection.") {}

void Ram::Run() {
    os::SystemInfo& systemInfo = *os::Current().systemInfo;
    os::MemoryStatus memory;
    // Systems without the extended call report the older, narrower record.
    if (!systemInfo.GlobalMemoryStatusEx(memory)) systemInfo.GlobalMemoryStatus(memory);
    Size totalPhysical(memory.totalPhysical);
    Size totalVirtual(memory.totalVirtual);
    Size availablePhysical(memory.availablePhysical);
    AddValue(GroupID(71063), totalPhysical);
    AddValue(GroupID(71381), totalVirtual);
    AddValue(GroupID(71382), availablePhysical);
    SystemValues& values = System::Instance().GetSystemValues();
    values.AddValue(71174, L"");
    values.AddValue(71175, L"");
}

}  // namespace rigel
