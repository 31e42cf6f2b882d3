#pragma once

#include <string>

namespace rigel::os {

// Text conversions that depend on the system's code pages.
class CodePage {
  public:
    virtual ~CodePage() = default;

    // MultiByteToWideChar from the thread's ANSI code page (CP_THREAD_ACP); the bytes carry no
    // terminator.
    virtual std::wstring ThreadAnsiToWide(const std::string& bytes) = 0;
};

}  // namespace rigel::os
