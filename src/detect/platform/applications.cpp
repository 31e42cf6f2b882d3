#include "detect/platform/applications.h"

#include "diag/scope_trace.h"

namespace rigel {

Applications::Applications() : Detector(nullptr, L"Error with Applications detection.") {
    Initialize();
}

void Applications::Initialize() { ScopeTrace trace(L"rigel::Applications::Initialize"); }

void Applications::Run() {}

}  // namespace rigel
