#include "core/detector.h"

#include <optional>

#include "diag/log.h"
#include "diag/scope_trace.h"

namespace rigel {

Detector::Detector(const wchar_t* traceName, const wchar_t* failureMessage)
    : traceName_(traceName), failureMessage_(failureMessage) {}

bool Detector::Detect() {
    std::optional<ScopeTrace> trace;
    if (traceName_ != nullptr) trace.emplace(traceName_);
    try {
        Run();
    } catch (...) {
        // The exception's own text is deliberately not logged: each detector has one message.
        Log::Instance().Line(Log::kError, failureMessage_);
    }
    return true;
}

}  // namespace rigel
