#include "os/win32/win32_device_io.h"

#include <windows.h>

namespace rigel::os {

bool Win32DeviceIo::Open(const std::wstring& path, std::uint32_t access, std::uint32_t share,
                         std::uint32_t disposition, std::uint32_t flags, HDevice& device,
                         std::uint32_t& error) {
    HANDLE handle = CreateFileW(path.c_str(), access, share, nullptr, disposition, flags, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        error = GetLastError();
        device = 0;
        return false;
    }
    device = reinterpret_cast<HDevice>(handle);
    return true;
}

bool Win32DeviceIo::Control(HDevice device, std::uint32_t code, const void* in,
                            std::uint32_t inSize, void* out, std::uint32_t outSize,
                            std::uint32_t& returned, std::uint32_t& error) {
    DWORD count = 0;
    const BOOL ok = DeviceIoControl(reinterpret_cast<HANDLE>(device), code, const_cast<void*>(in),
                                    inSize, out, outSize, &count, nullptr);
    returned = count;
    if (!ok) error = GetLastError();
    return ok != FALSE;
}

void Win32DeviceIo::Close(HDevice device) { CloseHandle(reinterpret_cast<HANDLE>(device)); }

}  // namespace rigel::os
