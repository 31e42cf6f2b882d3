#pragma once

#include "os/http.h"

namespace rigel::os {

class Win32Http : public Http {
  public:
    HInternet OpenSession(const std::wstring& agent, std::uint32_t accessType,
                          const std::optional<std::wstring>& proxy,
                          const std::optional<std::wstring>& proxyBypass,
                          std::uint32_t flags) override;
    HInternet Connect(HInternet session, const std::wstring& host, std::uint16_t port,
                      const std::optional<std::wstring>& user,
                      const std::optional<std::wstring>& password, std::uint32_t service,
                      std::uint32_t flags) override;
    HInternet OpenRequest(HInternet connection, const std::wstring& verb,
                          const std::wstring& objectName,
                          const std::optional<std::wstring>& version,
                          const std::optional<std::wstring>& referrer,
                          const std::vector<std::wstring>& acceptTypes,
                          std::uint32_t flags) override;
    bool SendRequest(HInternet request, const std::optional<std::wstring>& headers,
                     const std::optional<std::string>& body) override;
    bool QueryInfo(HInternet request, std::uint32_t infoLevel, std::uint8_t* buffer,
                   std::uint32_t& size) override;
    bool ReadFile(HInternet request, std::uint8_t* buffer, std::uint32_t size,
                  std::uint32_t& bytesRead) override;
    bool CloseHandle(HInternet handle) override;
    std::uint32_t LastError() override;
    HInternet OpenUrl(HInternet session, const std::wstring& url,
                      const std::optional<std::wstring>& headers, std::uint32_t flags) override;
    bool QueryDataAvailable(HInternet request, std::uint32_t& bytesAvailable) override;
    bool SetOption(HInternet handle, std::uint32_t option, std::uint32_t value) override;
};

}  // namespace rigel::os
