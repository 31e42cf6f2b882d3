#include "detect/platform/chassis.h"

namespace rigel {

Chassis::Chassis() : Detector(nullptr, L"Error in Chassis detection.") {}

void Chassis::Run() {}

}  // namespace rigel
