#pragma once

namespace rigel {

// True when DllInstall's command line asks for per-user registration: the whole text is "user"
// in any case. A null command line asks for nothing.
bool IsPerUserCommand(const wchar_t* commandLine);

}  // namespace rigel
