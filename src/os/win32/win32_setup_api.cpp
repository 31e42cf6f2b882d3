#include "os/win32/win32_setup_api.h"

#include <windows.h>

#include <setupapi.h>

#include <vector>

namespace rigel::os {
namespace {

using GetClassDevsWFn = HDEVINFO(WINAPI*)(const GUID*, PCWSTR, HWND, DWORD);
using EnumDeviceInfoFn = BOOL(WINAPI*)(HDEVINFO, DWORD, PSP_DEVINFO_DATA);
using GetDeviceRegistryPropertyWFn = BOOL(WINAPI*)(HDEVINFO, PSP_DEVINFO_DATA, DWORD, PDWORD, PBYTE,
                                                   DWORD, PDWORD);
using OpenDevRegKeyFn = HKEY(WINAPI*)(HDEVINFO, PSP_DEVINFO_DATA, DWORD, DWORD, DWORD, REGSAM);
using DestroyDeviceInfoListFn = BOOL(WINAPI*)(HDEVINFO);
using OpenInfFileWFn = HINF(WINAPI*)(PCWSTR, PCWSTR, DWORD, PUINT);
using CloseInfFileFn = VOID(WINAPI*)(HINF);
using FindFirstLineWFn = BOOL(WINAPI*)(HINF, PCWSTR, PCWSTR, PINFCONTEXT);
using FindNextLineFn = BOOL(WINAPI*)(PINFCONTEXT, PINFCONTEXT);
using GetLineTextWFn = BOOL(WINAPI*)(PINFCONTEXT, HINF, PCWSTR, PCWSTR, PWSTR, DWORD, PDWORD);

static_assert(sizeof(SP_DEVINFO_DATA) == SetupApi::kDeviceInfoSize);

GUID ToWin32(const ClassGuid& guid) {
    GUID converted{guid.data1, guid.data2, guid.data3, {}};
    for (std::size_t i = 0; i < guid.data4.size(); ++i) converted.Data4[i] = guid.data4[i];
    return converted;
}

ClassGuid FromWin32(const GUID& guid) {
    ClassGuid converted{guid.Data1, guid.Data2, guid.Data3, {}};
    for (std::size_t i = 0; i < converted.data4.size(); ++i) converted.data4[i] = guid.Data4[i];
    return converted;
}

SP_DEVINFO_DATA ToWin32(const DeviceInfoData& device) {
    SP_DEVINFO_DATA converted{};
    converted.cbSize = device.size;
    converted.ClassGuid = ToWin32(device.classGuid);
    converted.DevInst = device.devInst;
    converted.Reserved = device.reserved;
    return converted;
}

INFCONTEXT ToWin32(const InfContext& context) {
    INFCONTEXT converted{};
    converted.Inf = reinterpret_cast<PVOID>(context.inf);
    converted.CurrentInf = reinterpret_cast<PVOID>(context.currentInf);
    converted.Section = context.section;
    converted.Line = context.line;
    return converted;
}

InfContext FromWin32(const INFCONTEXT& context) {
    return InfContext{reinterpret_cast<std::uintptr_t>(context.Inf),
                      reinterpret_cast<std::uintptr_t>(context.CurrentInf), context.Section,
                      context.Line};
}

HDEVINFO ToSet(HDevInfo set) { return reinterpret_cast<HDEVINFO>(set); }

// The status of a call whose entry point was not resolved.
bool Missing(std::uint32_t& error) {
    error = SetupApi::kErrorProcNotFound;
    return false;
}

}  // namespace

template <typename Function>
Function Win32SetupApi::Get(const char* name) const {
    auto found = entryPoints_.find(name);
    return found == entryPoints_.end() ? nullptr : reinterpret_cast<Function>(found->second);
}

bool Win32SetupApi::OpenLibrary(const std::wstring& name, HModule& module, std::uint32_t& error) {
    const HMODULE loaded = LoadLibraryW(name.c_str());
    module = reinterpret_cast<HModule>(loaded);
    if (loaded == nullptr) error = GetLastError();
    return loaded != nullptr;
}

bool Win32SetupApi::ResolveEntryPoint(HModule module, const std::string& name) {
    const FARPROC found = GetProcAddress(reinterpret_cast<HMODULE>(module), name.c_str());
    if (found == nullptr) return false;
    // Through the generic function type, which converts to any other without a warning.
    entryPoints_[name] = reinterpret_cast<EntryPoint>(found);
    return true;
}

void Win32SetupApi::CloseLibrary(HModule module) {
    entryPoints_.clear();
    ::FreeLibrary(reinterpret_cast<HMODULE>(module));
}

bool Win32SetupApi::GetClassDevices(const ClassGuid& setupClass, std::uint32_t flags, HDevInfo& set,
                                    std::uint32_t& error) {
    set = 0;
    const auto call = Get<GetClassDevsWFn>("SetupDiGetClassDevsW");
    if (call == nullptr) return Missing(error);
    const GUID guid = ToWin32(setupClass);
    const HDEVINFO result = call(&guid, nullptr, nullptr, flags);
    if (result == INVALID_HANDLE_VALUE) {
        error = GetLastError();
        return false;
    }
    set = reinterpret_cast<HDevInfo>(result);
    return true;
}

bool Win32SetupApi::EnumDeviceInfo(HDevInfo set, std::uint32_t index, DeviceInfoData& device,
                                   std::uint32_t& error) {
    const auto call = Get<EnumDeviceInfoFn>("SetupDiEnumDeviceInfo");
    if (call == nullptr) return Missing(error);
    SP_DEVINFO_DATA data = ToWin32(device);
    if (!call(ToSet(set), index, &data)) {
        error = GetLastError();
        return false;
    }
    device.classGuid = FromWin32(data.ClassGuid);
    device.devInst = data.DevInst;
    device.reserved = data.Reserved;
    return true;
}

bool Win32SetupApi::GetDeviceRegistryProperty(HDevInfo set, const DeviceInfoData& device,
                                              std::uint32_t property, std::uint32_t& type,
                                              std::uint8_t* buffer, std::uint32_t bufferSize,
                                              std::uint32_t& requiredSize, std::uint32_t& error) {
    const auto call = Get<GetDeviceRegistryPropertyWFn>("SetupDiGetDeviceRegistryPropertyW");
    if (call == nullptr) return Missing(error);
    SP_DEVINFO_DATA data = ToWin32(device);
    DWORD valueType = 0;
    DWORD required = 0;
    const BOOL ok = call(ToSet(set), &data, property, &valueType, buffer, bufferSize, &required);
    if (!ok) error = GetLastError();
    type = valueType;
    requiredSize = required;
    return ok != FALSE;
}

bool Win32SetupApi::OpenDeviceKey(HDevInfo set, const DeviceInfoData& device, std::uint32_t scope,
                                  std::uint32_t profile, std::uint32_t keyType,
                                  std::uint32_t access, HKey& key, std::uint32_t& error) {
    key = 0;
    const auto call = Get<OpenDevRegKeyFn>("SetupDiOpenDevRegKey");
    if (call == nullptr) return Missing(error);
    SP_DEVINFO_DATA data = ToWin32(device);
    const HKEY opened = call(ToSet(set), &data, scope, profile, keyType, access);
    if (opened == INVALID_HANDLE_VALUE) {
        error = GetLastError();
        return false;
    }
    key = reinterpret_cast<HKey>(opened);
    return true;
}

void Win32SetupApi::DestroyDeviceInfoList(HDevInfo set) {
    const auto call = Get<DestroyDeviceInfoListFn>("SetupDiDestroyDeviceInfoList");
    if (call != nullptr) call(ToSet(set));
}

bool Win32SetupApi::OpenInfFile(const std::wstring& path, std::uint32_t style, HInf& inf,
                                std::uint32_t& error) {
    inf = 0;
    const auto call = Get<OpenInfFileWFn>("SetupOpenInfFileW");
    if (call == nullptr) return Missing(error);
    const HINF opened = call(path.c_str(), nullptr, style, nullptr);
    if (opened == INVALID_HANDLE_VALUE) {
        error = GetLastError();
        return false;
    }
    inf = reinterpret_cast<HInf>(opened);
    return true;
}

void Win32SetupApi::CloseInfFile(HInf inf) {
    const auto call = Get<CloseInfFileFn>("SetupCloseInfFile");
    if (call != nullptr) call(reinterpret_cast<HINF>(inf));
}

bool Win32SetupApi::FindFirstLine(HInf inf, const std::wstring& section, InfContext& context,
                                  std::uint32_t& error) {
    const auto call = Get<FindFirstLineWFn>("SetupFindFirstLineW");
    if (call == nullptr) return Missing(error);
    INFCONTEXT found{};
    if (!call(reinterpret_cast<HINF>(inf), section.c_str(), nullptr, &found)) {
        error = GetLastError();
        return false;
    }
    context = FromWin32(found);
    return true;
}

bool Win32SetupApi::FindNextLine(const InfContext& context, InfContext& next,
                                 std::uint32_t& error) {
    const auto call = Get<FindNextLineFn>("SetupFindNextLine");
    if (call == nullptr) return Missing(error);
    INFCONTEXT current = ToWin32(context);
    INFCONTEXT found{};
    if (!call(&current, &found)) {
        error = GetLastError();
        return false;
    }
    next = FromWin32(found);
    return true;
}

bool Win32SetupApi::GetLineText(const InfContext& context, std::uint32_t capacity,
                                std::wstring& text, std::uint32_t& requiredSize,
                                std::uint32_t& error) {
    const auto call = Get<GetLineTextWFn>("SetupGetLineTextW");
    if (call == nullptr) return Missing(error);
    INFCONTEXT current = ToWin32(context);
    std::vector<wchar_t> buffer(capacity + 1u, L'\0');
    DWORD required = 0;
    if (!call(&current, nullptr, nullptr, nullptr, buffer.data(), capacity, &required)) {
        error = GetLastError();
        requiredSize = required;
        return false;
    }
    requiredSize = required;
    text = buffer.data();
    return true;
}

}  // namespace rigel::os
