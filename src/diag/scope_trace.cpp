#include "diag/scope_trace.h"

#include <utility>

#include "diag/log.h"

namespace rigel {

ScopeTrace::ScopeTrace(std::wstring name) : name_(std::move(name)) {
    Log& log = Log::Instance();
    if (!log.IsEnabled(Log::kMark)) return;
    entered_ = true;
    log.WriteLine(Log::kMark, L"Entering: ", name_);
    log.Indent();
}

ScopeTrace::~ScopeTrace() {
    if (!entered_) return;
    Log& log = Log::Instance();
    log.Outdent();
    // An operation entered while tracing was on always reports its exit.
    log.WriteLine(Log::kMark, L"Exiting: ", name_);
}

}  // namespace rigel
