#pragma once

#include "os/debug_output.h"

namespace rigel::os {

class Win32DebugOutput : public DebugOutput {
  public:
    void Write(const std::wstring& text) override;
};

}  // namespace rigel::os
