#include "detect/platform/browser.h"

#include "diag/scope_trace.h"

namespace rigel {

Browser::Browser() : Detector(nullptr, L"Error in Browser detection.") {}

void Browser::Initialize() { ScopeTrace trace(L"rigel::Browser::Initialize"); }

void Browser::Run() {}

}  // namespace rigel
