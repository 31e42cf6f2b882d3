#pragma once

#include "os/library_loader.h"

namespace rigel::os {

class Win32LibraryLoader : public LibraryLoader {
  public:
    Library Load(const std::wstring& name) override;
    EntryPoint Resolve(Library library, const std::string& name) override;
    void Free(Library library) override;
};

}  // namespace rigel::os
