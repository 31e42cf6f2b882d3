#include "detect/devices/cd_rom.h"

namespace rigel {

CDRom::CDRom() : Detector(nullptr, L"Error in CDRom detection.") {}

void CDRom::Run() {}

}  // namespace rigel
