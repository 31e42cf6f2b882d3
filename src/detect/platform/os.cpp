#include "detect/platform/os.h"

#include "diag/scope_trace.h"

namespace rigel {

OS::OS() : Detector(nullptr, L"Error in OS detection.") {}

void OS::Initialize() { ScopeTrace trace(L"rigel::OS::Initialize"); }

void OS::Run() {}

}  // namespace rigel
