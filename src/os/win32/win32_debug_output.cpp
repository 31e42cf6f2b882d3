#include "os/win32/win32_debug_output.h"

#include <windows.h>

namespace rigel::os {

void Win32DebugOutput::Write(const std::wstring& text) { OutputDebugStringW(text.c_str()); }

}  // namespace rigel::os
