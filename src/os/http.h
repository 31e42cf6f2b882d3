#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rigel::os {

// An opaque WinINet handle (HINTERNET); 0 means the call failed.
using HInternet = std::uintptr_t;

// HTTP through WinINet: one method per call. Optional texts and bodies that are absent are passed
// to Windows as null pointers; status codes come back unchanged and LastError tells why a call
// failed.
class Http {
  public:
    virtual ~Http() = default;

    // InternetOpenW.
    virtual HInternet OpenSession(const std::wstring& agent, std::uint32_t accessType,
                                  const std::optional<std::wstring>& proxy,
                                  const std::optional<std::wstring>& proxyBypass,
                                  std::uint32_t flags) = 0;

    // InternetConnectW.
    virtual HInternet Connect(HInternet session, const std::wstring& host, std::uint16_t port,
                              const std::optional<std::wstring>& user,
                              const std::optional<std::wstring>& password, std::uint32_t service,
                              std::uint32_t flags) = 0;

    // HttpOpenRequestW; an empty accept-type list is passed as a null pointer.
    virtual HInternet OpenRequest(HInternet connection, const std::wstring& verb,
                                  const std::wstring& objectName,
                                  const std::optional<std::wstring>& version,
                                  const std::optional<std::wstring>& referrer,
                                  const std::vector<std::wstring>& acceptTypes,
                                  std::uint32_t flags) = 0;

    // HttpSendRequestW; the header text goes with its length in characters, the body with its
    // length in bytes.
    virtual bool SendRequest(HInternet request, const std::optional<std::wstring>& headers,
                             const std::optional<std::string>& body) = 0;

    // HttpQueryInfoW into a buffer of size bytes; size is set to the bytes written (without the
    // terminator) or, when the buffer is too small, to the bytes needed.
    virtual bool QueryInfo(HInternet request, std::uint32_t infoLevel, std::uint8_t* buffer,
                           std::uint32_t& size) = 0;

    // InternetReadFile: up to size bytes; bytesRead 0 with success means the end of the body.
    virtual bool ReadFile(HInternet request, std::uint8_t* buffer, std::uint32_t size,
                          std::uint32_t& bytesRead) = 0;

    // InternetCloseHandle.
    virtual bool CloseHandle(HInternet handle) = 0;

    // GetLastError after a failed call.
    virtual std::uint32_t LastError() = 0;

    // InternetOpenUrlW.
    virtual HInternet OpenUrl(HInternet session, const std::wstring& url,
                              const std::optional<std::wstring>& headers, std::uint32_t flags) = 0;

    // InternetQueryDataAvailable.
    virtual bool QueryDataAvailable(HInternet request, std::uint32_t& bytesAvailable) = 0;

    // InternetSetOptionW with a 32-bit number, such as a time-out in milliseconds.
    virtual bool SetOption(HInternet handle, std::uint32_t option, std::uint32_t value) = 0;
};

}  // namespace rigel::os
