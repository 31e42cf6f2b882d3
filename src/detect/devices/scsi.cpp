#include "detect/devices/scsi.h"

namespace rigel {

SCSI::SCSI() : Detector(nullptr, L"Error in SCSI detection.") {}

void SCSI::Run() {}

}  // namespace rigel
