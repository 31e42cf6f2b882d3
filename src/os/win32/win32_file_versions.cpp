#include "os/win32/win32_file_versions.h"

#include <windows.h>

namespace rigel::os {

std::uint32_t Win32FileVersions::InfoSize(const std::wstring& path, std::uint32_t& error) {
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
    if (size == 0) error = GetLastError();
    return size;
}

bool Win32FileVersions::Info(const std::wstring& path, std::vector<std::uint8_t>& data) {
    return GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(data.size()), data.data()) !=
           FALSE;
}

bool Win32FileVersions::QueryFixedInfo(const std::vector<std::uint8_t>& data,
                                       std::vector<std::uint8_t>& fixedInfo) {
    void* block = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(data.data(), L"\\", &block, &length) || block == nullptr) return false;
    const auto* bytes = static_cast<const std::uint8_t*>(block);
    fixedInfo.assign(bytes, bytes + length);
    return true;
}

}  // namespace rigel::os
