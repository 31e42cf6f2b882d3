#include "os/win32/win32_registry.h"

#include <windows.h>

#include <vector>

namespace rigel::os {
namespace {

HKEY ToWin32(HKey key) { return reinterpret_cast<HKEY>(key); }

}  // namespace

std::int32_t Win32Registry::OpenKey(HKey root, const std::wstring& subkey, std::uint32_t access,
                                    HKey& key) {
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(ToWin32(root), subkey.c_str(), 0, access, &opened);
    key = status == ERROR_SUCCESS ? reinterpret_cast<HKey>(opened) : 0;
    return status;
}

std::int32_t Win32Registry::QueryValue(HKey key, const std::wstring& name, std::uint32_t& type,
                                       std::uint8_t* data, std::uint32_t& size) {
    DWORD valueType = 0;
    DWORD valueSize = size;
    const LSTATUS status =
        RegQueryValueExW(ToWin32(key), name.c_str(), nullptr, &valueType, data, &valueSize);
    type = valueType;
    size = valueSize;
    return status;
}

std::int32_t Win32Registry::EnumKey(HKey key, std::uint32_t index, std::uint32_t capacity,
                                    std::wstring& name) {
    std::vector<wchar_t> buffer(capacity + 1u);
    DWORD length = capacity;
    const LSTATUS status = RegEnumKeyExW(ToWin32(key), index, buffer.data(), &length, nullptr,
                                         nullptr, nullptr, nullptr);
    if (status == ERROR_SUCCESS) name.assign(buffer.data(), length);
    return status;
}

std::int32_t Win32Registry::CloseKey(HKey key) { return RegCloseKey(ToWin32(key)); }

}  // namespace rigel::os
