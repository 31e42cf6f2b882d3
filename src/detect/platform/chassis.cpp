#include "detect/platform/chassis.h"

#include "os/services.h"
#include "os/system_info.h"
#include "values/exists.h"

namespace rigel {

Chassis::Chassis() : Detector(nullptr, L"Error in Chassis detection.") {}

void Chassis::Run() {
    os::PowerCapabilities power;
    // Short-term batteries belong to a UPS, which does not make a desktop portable.
    const bool portable = os::Current().systemInfo->GetPowerCapabilities(power) &&
                          power.systemBatteriesPresent && !power.batteriesAreShortTerm;
    Exists flag(portable);
    AddValue(GroupID(71094), flag);
}

}  // namespace rigel
