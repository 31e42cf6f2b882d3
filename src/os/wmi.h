#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace rigel::os {

// An opaque WMI object (locator, services, enumerator or row); 0 means none. Whoever receives
// one owns a reference and gives it back with Release.
using WmiObject = std::uintptr_t;

// One property as IWbemClassObject::Get delivered it, with the two conversions the callers use
// (VariantChangeType to VT_BSTR and to VT_UI4) already made, each with its own HRESULT.
struct WmiValue {
    std::int32_t cimType = 0;  // CIMTYPE; 0 is CIM_EMPTY
    bool isNull = false;       // VT_NULL
    std::int32_t textStatus = 0;
    std::wstring text;
    std::int32_t numberStatus = 0;
    std::uint32_t number = 0;
};

// The arguments of CoSetProxyBlanket that a caller chooses.
struct ProxyBlanket {
    std::uint32_t authenticationService = 0;
    std::uint32_t authorizationService = 0;
    std::uint32_t authenticationLevel = 0;
    std::uint32_t impersonationLevel = 0;
    std::uint32_t capabilities = 0;
};

// WMI through COM: one call per method, HRESULTs passed up unchanged. The calling thread must be
// in a COM apartment already.
class Wmi {
  public:
    // HRESULTs and CIM types the callers tell apart.
    static constexpr std::int32_t kOk = 0;     // WBEM_S_NO_ERROR
    static constexpr std::int32_t kFalse = 1;  // WBEM_S_FALSE
    static constexpr std::int32_t kNotFound = static_cast<std::int32_t>(0x80041002);
    static constexpr std::int32_t kTypeMismatch = static_cast<std::int32_t>(0x80020005);
    static constexpr std::uint32_t kInfinite = 0xFFFFFFFF;  // WBEM_INFINITE
    static constexpr std::int32_t kCimEmpty = 0;
    static constexpr std::int32_t kCimUint32 = 19;
    static constexpr std::int32_t kCimString = 8;
    static constexpr std::int32_t kCimFlagArray = 0x2000;

    virtual ~Wmi() = default;

    // CoCreateInstance of the WbemLocator class, in-process, for IWbemLocator.
    virtual std::int32_t CreateLocator(WmiObject& locator) = 0;
    // IWbemLocator::ConnectServer to a namespace with no user, password, locale or authority.
    virtual std::int32_t ConnectServer(WmiObject locator, const std::wstring& nameSpace,
                                       WmiObject& services) = 0;
    // CoSetProxyBlanket on the services, with no principal name and no identity.
    virtual std::int32_t SetProxyBlanket(WmiObject services, const ProxyBlanket& blanket) = 0;
    // IWbemServices::ExecQuery with no context.
    virtual std::int32_t ExecQuery(WmiObject services, const std::wstring& language,
                                   const std::wstring& query, std::int32_t flags,
                                   WmiObject& enumerator) = 0;
    // IEnumWbemClassObject::Next for up to count rows; rows receives those that came back.
    virtual std::int32_t Next(WmiObject enumerator, std::uint32_t timeout, std::uint32_t count,
                              std::vector<WmiObject>& rows) = 0;
    // IWbemClassObject::Get with flags 0.
    virtual std::int32_t GetProperty(WmiObject row, const std::wstring& name, WmiValue& value) = 0;
    // IUnknown::Release.
    virtual void Release(WmiObject object) = 0;
};

}  // namespace rigel::os
