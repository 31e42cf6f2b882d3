#include "os/win32/win32_shared_memory.h"

#include <windows.h>

namespace rigel::os {

bool Win32SharedMemory::Create(const std::wstring& name, std::uint32_t protect, std::uint32_t size,
                               HMapping& mapping, std::uint32_t& error) {
    HANDLE handle =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, protect, 0, size, name.c_str());
    error = GetLastError();
    mapping = reinterpret_cast<HMapping>(handle);
    return handle != nullptr;
}

void* Win32SharedMemory::Map(HMapping mapping, std::uint32_t access, std::size_t size) {
    return MapViewOfFile(reinterpret_cast<HANDLE>(mapping), access, 0, 0, size);
}

void Win32SharedMemory::Unmap(void* view) { UnmapViewOfFile(view); }

void Win32SharedMemory::Close(HMapping mapping) { CloseHandle(reinterpret_cast<HANDLE>(mapping)); }

}  // namespace rigel::os
