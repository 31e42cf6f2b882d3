#pragma once

#include <string>
#include <vector>

#include "os/debug_output.h"

namespace rigel::os {

// Keeps every chunk written to the debugger output, in order.
class FakeDebugOutput : public DebugOutput {
  public:
    std::vector<std::wstring> chunks;

    void Write(const std::wstring& text) override { chunks.push_back(text); }

    // Everything written so far, concatenated.
    std::wstring Text() const {
        std::wstring all;
        for (const auto& chunk : chunks) all += chunk;
        return all;
    }
};

}  // namespace rigel::os
