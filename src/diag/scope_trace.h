#pragma once

#include <string>

namespace rigel {

// Traces one operation call: at level 4 it writes "Entering: " on construction, indents the lines
// in between and writes "Exiting: " on destruction.
class ScopeTrace {
  public:
    explicit ScopeTrace(std::wstring name);
    ~ScopeTrace();
    ScopeTrace(const ScopeTrace&) = delete;
    ScopeTrace& operator=(const ScopeTrace&) = delete;

  private:
    bool entered_ = false;
    std::wstring name_;
};

}  // namespace rigel
