#pragma once

#include <cstdint>
#include <string>

#include "os/unique_handle.h"

namespace rigel::os {

// An opaque loaded library (HMODULE) and an exported entry point's address; 0 means none.
using Library = std::uintptr_t;
using EntryPoint = std::uintptr_t;

// Loading system libraries at run time, one call per method.
class LibraryLoader {
  public:
    virtual ~LibraryLoader() = default;

    // LoadLibraryW.
    virtual Library Load(const std::wstring& name) = 0;
    // GetProcAddress.
    virtual EntryPoint Resolve(Library library, const std::string& name) = 0;
    // FreeLibrary.
    virtual void Free(Library library) = 0;
};

// Frees libraries through the loader that loaded them, for UniqueHandle.
class LibraryFreer {
  public:
    explicit LibraryFreer(LibraryLoader& loader) : loader_(&loader) {}
    void operator()(Library library) const { loader_->Free(library); }

  private:
    LibraryLoader* loader_;
};

using UniqueLibrary = UniqueHandle<Library, LibraryFreer>;

}  // namespace rigel::os
