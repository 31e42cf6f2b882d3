#pragma once

#include <windows.h>

#include "os/unique_handle.h"

namespace rigel {

// Closes registry keys for UniqueHandle.
struct RegistryKeyCloser {
    void operator()(HKEY key) const { RegCloseKey(key); }
};

using UniqueRegistryKey = os::UniqueHandle<HKEY, RegistryKeyCloser>;

}  // namespace rigel
