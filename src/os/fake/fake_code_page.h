#pragma once

#include <string>

#include "os/code_page.h"

namespace rigel::os {

// An ANSI code page of ISO 8859-1: each byte is the character of the same number (Windows-1252
// differs only in 0x80 to 0x9F).
class FakeCodePage : public CodePage {
  public:
    std::wstring ThreadAnsiToWide(const std::string& bytes) override {
        std::wstring text;
        for (char byte : bytes) text += static_cast<wchar_t>(static_cast<unsigned char>(byte));
        return text;
    }
};

}  // namespace rigel::os
