#include "detect/devices/logical_drive.h"

#include "diag/scope_trace.h"

namespace rigel {

LogicalDrive::LogicalDrive() : Detector(nullptr, L"Error in LogicalDrive detection.") {}

void LogicalDrive::Initialize() { ScopeTrace trace(L"rigel::LogicalDrive::Initialize"); }

void LogicalDrive::Run() {}

}  // namespace rigel
