#include "os/win32/win32_libraries.h"

#include <windows.h>

namespace rigel::os {

bool Win32Libraries::Load(const std::wstring& path, HModule& module, std::uint32_t& error) {
    HMODULE handle = LoadLibraryW(path.c_str());
    module = reinterpret_cast<HModule>(handle);
    if (handle == nullptr) error = GetLastError();
    return handle != nullptr;
}

ExportAddress Win32Libraries::FindExport(HModule module, const std::string& name) {
    return reinterpret_cast<ExportAddress>(
        GetProcAddress(reinterpret_cast<HMODULE>(module), name.c_str()));
}

void Win32Libraries::Free(HModule module) { FreeLibrary(reinterpret_cast<HMODULE>(module)); }

}  // namespace rigel::os
