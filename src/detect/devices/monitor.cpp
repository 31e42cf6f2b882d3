#include "detect/devices/monitor.h"

namespace rigel {

Monitor::Monitor() : Detector(nullptr, L"Error in Monitor detection.") {}

void Monitor::Run() {}

}  // namespace rigel
