#pragma once

#include "os/wmi.h"

namespace rigel::os {

// The objects handed out are the COM interface pointers themselves, each holding one reference.
class Win32Wmi : public Wmi {
  public:
    std::int32_t CreateLocator(WmiObject& locator) override;
    std::int32_t ConnectServer(WmiObject locator, const std::wstring& nameSpace,
                               WmiObject& services) override;
    std::int32_t SetProxyBlanket(WmiObject services, const ProxyBlanket& blanket) override;
    std::int32_t ExecQuery(WmiObject services, const std::wstring& language,
                           const std::wstring& query, std::int32_t flags,
                           WmiObject& enumerator) override;
    std::int32_t Next(WmiObject enumerator, std::uint32_t timeout, std::uint32_t count,
                      std::vector<WmiObject>& rows) override;
    std::int32_t GetProperty(WmiObject row, const std::wstring& name, WmiValue& value) override;
    void Release(WmiObject object) override;
};

}  // namespace rigel::os
