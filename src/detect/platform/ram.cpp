#include "detect/platform/ram.h"

namespace rigel {

Ram::Ram() : Detector(nullptr, L"Error in Ram detection.") {}

void Ram::Run() {}

}  // namespace rigel
