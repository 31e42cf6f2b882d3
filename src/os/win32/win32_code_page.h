#pragma once

#include "os/code_page.h"

namespace rigel::os {

class Win32CodePage : public CodePage {
  public:
    std::wstring ThreadAnsiToWide(const std::string& bytes) override;
};

}  // namespace rigel::os
