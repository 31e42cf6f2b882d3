#pragma once

#include <windows.h>

#include "os/unique_handle.h"

namespace rigel {

// Frees loaded libraries for UniqueHandle.
struct LibraryCloser {
    void operator()(HMODULE module) const { FreeLibrary(module); }
};

using UniqueLibrary = os::UniqueHandle<HMODULE, LibraryCloser>;

}  // namespace rigel
