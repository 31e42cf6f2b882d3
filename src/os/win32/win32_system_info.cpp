#include "os/win32/win32_system_info.h"

#include <windows.h>

#include <objbase.h>
#include <powrprof.h>

namespace rigel::os {
namespace {

ProcessorSystemInfo FromWin32(const SYSTEM_INFO& info) {
    return ProcessorSystemInfo{info.wProcessorArchitecture, info.dwNumberOfProcessors};
}

}  // namespace

bool Win32SystemInfo::GetVersion(OsVersion& version) {
    OSVERSIONINFOEXW info{};
    info.dwOSVersionInfoSize = sizeof(info);
    if (!GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&info))) return false;
    version.major = info.dwMajorVersion;
    version.minor = info.dwMinorVersion;
    version.build = info.dwBuildNumber;
    version.platformId = info.dwPlatformId;
    version.servicePack = info.szCSDVersion;
    version.servicePackMajor = info.wServicePackMajor;
    version.servicePackMinor = info.wServicePackMinor;
    version.suiteMask = info.wSuiteMask;
    version.productType = info.wProductType;
    return true;
}

ProcessorSystemInfo Win32SystemInfo::GetSystemInfo() {
    SYSTEM_INFO info{};
    ::GetSystemInfo(&info);
    return FromWin32(info);
}

ProcessorSystemInfo Win32SystemInfo::GetNativeSystemInfo() {
    SYSTEM_INFO info{};
    ::GetNativeSystemInfo(&info);
    return FromWin32(info);
}

bool Win32SystemInfo::GetProductInfo(std::uint32_t major, std::uint32_t minor,
                                     std::uint32_t servicePackMajor, std::uint32_t servicePackMinor,
                                     std::uint32_t& productType) {
    DWORD type = 0;
    const BOOL result = ::GetProductInfo(major, minor, servicePackMajor, servicePackMinor, &type);
    productType = type;
    return result != FALSE;
}

int Win32SystemInfo::GetSystemMetrics(int index) { return ::GetSystemMetrics(index); }

bool Win32SystemInfo::IsWow64Process(bool& wow64) {
    BOOL result = FALSE;
    if (!::IsWow64Process(GetCurrentProcess(), &result)) return false;
    wow64 = result != FALSE;
    return true;
}

std::uint32_t Win32SystemInfo::GetUserDefaultLcid() { return GetUserDefaultLCID(); }

bool Win32SystemInfo::GlobalMemoryStatusEx(MemoryStatus& status) {
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof(memory);
    if (!::GlobalMemoryStatusEx(&memory)) return false;
    status = MemoryStatus{memory.dwMemoryLoad,     memory.ullTotalPhys,     memory.ullAvailPhys,
                          memory.ullTotalPageFile, memory.ullAvailPageFile, memory.ullTotalVirtual,
                          memory.ullAvailVirtual};
    return true;
}

void Win32SystemInfo::GlobalMemoryStatus(MemoryStatus& status) {
    MEMORYSTATUS memory{};
    memory.dwLength = sizeof(memory);
    ::GlobalMemoryStatus(&memory);
    status = MemoryStatus{memory.dwMemoryLoad,    memory.dwTotalPhys,     memory.dwAvailPhys,
                          memory.dwTotalPageFile, memory.dwAvailPageFile, memory.dwTotalVirtual,
                          memory.dwAvailVirtual};
}

bool Win32SystemInfo::GetPowerCapabilities(PowerCapabilities& capabilities) {
    SYSTEM_POWER_CAPABILITIES power{};
    if (!GetPwrCapabilities(&power)) return false;
    capabilities.systemBatteriesPresent = power.SystemBatteriesPresent != FALSE;
    capabilities.batteriesAreShortTerm = power.BatteriesAreShortTerm != FALSE;
    return true;
}

std::int32_t Win32SystemInfo::CreateGuidText(std::wstring& text) {
    GUID guid{};
    const HRESULT status = CoCreateGuid(&guid);
    if (FAILED(status)) return status;
    wchar_t buffer[64] = {};
    const int length = StringFromGUID2(guid, buffer, 64);
    text.assign(buffer, length > 0 ? static_cast<std::size_t>(length - 1) : 0);
    return status;
}

namespace {

// Runs one buffer-filling call and keeps the text when it fit.
template <typename Call>
std::uint32_t FillFrom(std::uint32_t capacity, std::wstring& text, Call call) {
    std::wstring buffer(capacity, L'\0');
    const std::uint32_t result = call(buffer.data(), capacity);
    if (result != 0 && result < capacity) text.assign(buffer.c_str());
    return result;
}

}  // namespace

std::uint32_t Win32SystemInfo::WindowsDirectory(std::uint32_t capacity, std::wstring& text) {
    return FillFrom(capacity, text,
                    [](wchar_t* buffer, UINT size) { return GetWindowsDirectoryW(buffer, size); });
}

std::uint32_t Win32SystemInfo::SystemDirectory(std::uint32_t capacity, std::wstring& text) {
    return FillFrom(capacity, text,
                    [](wchar_t* buffer, UINT size) { return GetSystemDirectoryW(buffer, size); });
}

std::uint32_t Win32SystemInfo::ExpandEnvironment(const std::wstring& source, std::uint32_t capacity,
                                                 std::wstring& text) {
    std::wstring buffer(capacity, L'\0');
    const DWORD result = ExpandEnvironmentStringsW(source.c_str(), buffer.data(), capacity);
    if (result != 0 && result <= capacity) text.assign(buffer.c_str());
    return result;
}

std::uint32_t Win32SystemInfo::OwnModuleFileName(std::uint32_t capacity, std::wstring& path) {
    static const int anchor = 0;  // any address inside this module
    HMODULE module = nullptr;
    const auto flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&anchor), &module)) {
        return 0;
    }
    std::wstring buffer(capacity, L'\0');
    const DWORD result = GetModuleFileNameW(module, buffer.data(), capacity);
    path.assign(buffer.c_str());
    return result;
}

std::uint32_t Win32SystemInfo::LogicalDriveStrings(std::uint32_t capacity, std::wstring& text) {
    std::wstring buffer(static_cast<std::size_t>(capacity) + 1, L'\0');
    const DWORD result = GetLogicalDriveStringsW(capacity, buffer.data());
    if (result != 0 && result <= capacity) text.assign(buffer.data(), result);
    return result;
}

std::uint32_t Win32SystemInfo::DriveType(const std::wstring& root) {
    return GetDriveTypeW(root.c_str());
}

bool Win32SystemInfo::DiskFreeSpace(const std::wstring& root, DiskSpace& space) {
    ULARGE_INTEGER available{};
    ULARGE_INTEGER total{};
    ULARGE_INTEGER totalFree{};
    if (!GetDiskFreeSpaceExW(root.c_str(), &available, &total, &totalFree)) return false;
    space = DiskSpace{available.QuadPart, total.QuadPart, totalFree.QuadPart};
    return true;
}

std::uint32_t Win32SystemInfo::AnsiToWide(const std::string& bytes, std::wstring& text) {
    std::wstring buffer(bytes.size(), L'\0');
    const int count =
        MultiByteToWideChar(CP_THREAD_ACP, 0, bytes.data(), static_cast<int>(bytes.size()),
                            buffer.data(), static_cast<int>(buffer.size()));
    if (count > 0) text.assign(buffer.data(), static_cast<std::size_t>(count));
    return count > 0 ? static_cast<std::uint32_t>(count) : 0;
}

}  // namespace rigel::os
