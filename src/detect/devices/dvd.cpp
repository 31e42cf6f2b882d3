#include "detect/devices/dvd.h"

namespace rigel {

DVD::DVD() : Detector(nullptr, L"Error in DVD detection.") {}

void DVD::Run() {}

}  // namespace rigel
