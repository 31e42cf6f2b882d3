#include "control/logic/install_command.h"

namespace rigel {
namespace {

wchar_t AsciiLower(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

}  // namespace

bool IsPerUserCommand(const wchar_t* commandLine) {
    if (commandLine == nullptr) return false;
    const wchar_t* expected = L"user";
    for (; *expected != L'\0'; ++expected, ++commandLine) {
        if (AsciiLower(*commandLine) != *expected) return false;
    }
    return *commandLine == L'\0';
}

}  // namespace rigel
