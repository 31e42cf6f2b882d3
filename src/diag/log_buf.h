#pragma once

#include <sstream>

namespace rigel {

// Stream buffer of the log: every flush sends what was buffered since the last one to the
// debugger output as one string.
class LogBuf : public std::wstringbuf {
  protected:
    int sync() override;
};

}  // namespace rigel
