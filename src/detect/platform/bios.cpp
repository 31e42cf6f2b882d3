#include "detect/platform/bios.h"

namespace rigel {

Bios::Bios() : Detector(nullptr, L"Error in Bios detection.") {}

void Bios::Run() {}

}  // namespace rigel
