#include "os/win32/win32_http.h"

#include <windows.h>
#include <wininet.h>

namespace rigel::os {
namespace {

HINTERNET ToWin32(HInternet handle) { return reinterpret_cast<HINTERNET>(handle); }

HInternet FromWin32(HINTERNET handle) { return reinterpret_cast<HInternet>(handle); }

const wchar_t* TextOrNull(const std::optional<std::wstring>& text) {
    return text ? text->c_str() : nullptr;
}

DWORD Length(const std::optional<std::wstring>& text) {
    return text ? static_cast<DWORD>(text->size()) : 0;
}

}  // namespace

HInternet Win32Http::OpenSession(const std::wstring& agent, std::uint32_t accessType,
                                 const std::optional<std::wstring>& proxy,
                                 const std::optional<std::wstring>& proxyBypass,
                                 std::uint32_t flags) {
    return FromWin32(InternetOpenW(agent.c_str(), accessType, TextOrNull(proxy),
                                   TextOrNull(proxyBypass), flags));
}

HInternet Win32Http::Connect(HInternet session, const std::wstring& host, std::uint16_t port,
                             const std::optional<std::wstring>& user,
                             const std::optional<std::wstring>& password, std::uint32_t service,
                             std::uint32_t flags) {
    return FromWin32(InternetConnectW(ToWin32(session), host.c_str(), port, TextOrNull(user),
                                      TextOrNull(password), service, flags, 0));
}

HInternet Win32Http::OpenRequest(HInternet connection, const std::wstring& verb,
                                 const std::wstring& objectName,
                                 const std::optional<std::wstring>& version,
                                 const std::optional<std::wstring>& referrer,
                                 const std::vector<std::wstring>& acceptTypes,
                                 std::uint32_t flags) {
    // WinINet wants a null-terminated array of text pointers.
    std::vector<const wchar_t*> accept;
    for (const auto& type : acceptTypes) accept.push_back(type.c_str());
    accept.push_back(nullptr);
    return FromWin32(HttpOpenRequestW(ToWin32(connection), verb.c_str(), objectName.c_str(),
                                      TextOrNull(version), TextOrNull(referrer),
                                      acceptTypes.empty() ? nullptr : accept.data(), flags, 0));
}

bool Win32Http::SendRequest(HInternet request, const std::optional<std::wstring>& headers,
                            const std::optional<std::string>& body) {
    // WinINet does not write to the body; its parameter is merely not const.
    void* data = body ? const_cast<char*>(body->data()) : nullptr;
    const DWORD size = body ? static_cast<DWORD>(body->size()) : 0;
    return HttpSendRequestW(ToWin32(request), TextOrNull(headers), Length(headers), data, size) !=
           FALSE;
}

bool Win32Http::QueryInfo(HInternet request, std::uint32_t infoLevel, std::uint8_t* buffer,
                          std::uint32_t& size) {
    DWORD length = size;
    const BOOL ok = HttpQueryInfoW(ToWin32(request), infoLevel, buffer, &length, nullptr);
    size = length;
    return ok != FALSE;
}

bool Win32Http::ReadFile(HInternet request, std::uint8_t* buffer, std::uint32_t size,
                         std::uint32_t& bytesRead) {
    DWORD read = 0;
    const BOOL ok = InternetReadFile(ToWin32(request), buffer, size, &read);
    bytesRead = read;
    return ok != FALSE;
}

bool Win32Http::CloseHandle(HInternet handle) {
    return InternetCloseHandle(ToWin32(handle)) != FALSE;
}

std::uint32_t Win32Http::LastError() { return GetLastError(); }

HInternet Win32Http::OpenUrl(HInternet session, const std::wstring& url,
                             const std::optional<std::wstring>& headers, std::uint32_t flags) {
    return FromWin32(InternetOpenUrlW(ToWin32(session), url.c_str(), TextOrNull(headers),
                                      Length(headers), flags, 0));
}

bool Win32Http::QueryDataAvailable(HInternet request, std::uint32_t& bytesAvailable) {
    DWORD available = 0;
    const BOOL ok = InternetQueryDataAvailable(ToWin32(request), &available, 0, 0);
    bytesAvailable = available;
    return ok != FALSE;
}

bool Win32Http::SetOption(HInternet handle, std::uint32_t option, std::uint32_t value) {
    DWORD number = value;
    return InternetSetOptionW(ToWin32(handle), option, &number, sizeof(number)) != FALSE;
}

}  // namespace rigel::os
