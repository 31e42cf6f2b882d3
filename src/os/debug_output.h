#pragma once

#include <string>

namespace rigel::os {

// The debugger output channel (OutputDebugStringW).
class DebugOutput {
  public:
    virtual ~DebugOutput() = default;
    virtual void Write(const std::wstring& text) = 0;
};

}  // namespace rigel::os
