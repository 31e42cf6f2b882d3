#include "detect/devices/hard_drive.h"

#include "diag/scope_trace.h"

namespace rigel {

HardDrive::HardDrive() : Detector(nullptr, L"Error in HardDrive detection.") {}

void HardDrive::Initialize() { ScopeTrace trace(L"rigel::HardDrive::Initialize"); }

void HardDrive::Run() {}

}  // namespace rigel
