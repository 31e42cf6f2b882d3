#include "os/win32/win32_library_loader.h"

#include <windows.h>

namespace rigel::os {

Library Win32LibraryLoader::Load(const std::wstring& name) {
    return reinterpret_cast<Library>(LoadLibraryW(name.c_str()));
}

EntryPoint Win32LibraryLoader::Resolve(Library library, const std::string& name) {
    return reinterpret_cast<EntryPoint>(
        GetProcAddress(reinterpret_cast<HMODULE>(library), name.c_str()));
}

void Win32LibraryLoader::Free(Library library) { FreeLibrary(reinterpret_cast<HMODULE>(library)); }

}  // namespace rigel::os
