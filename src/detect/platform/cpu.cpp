#include "detect/platform/cpu.h"

namespace rigel {

CPU::CPU() : Detector(nullptr, L"Error in CPU detection.") {}

void CPU::Run() {}

}  // namespace rigel
