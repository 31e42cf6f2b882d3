#include "os/win32/win32_wmi.h"

#include <windows.h>

#include <oleauto.h>
#include <wbemcli.h>
#include <wrl/client.h>

#include <memory>

namespace rigel::os {
namespace {

using Microsoft::WRL::ComPtr;

struct BstrFree {
    void operator()(BSTR text) const { SysFreeString(text); }
};
using UniqueBstr = std::unique_ptr<OLECHAR, BstrFree>;

UniqueBstr Bstr(const std::wstring& text) {
    return UniqueBstr(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
}

// A VARIANT cleared when it goes out of scope.
class Variant {
  public:
    Variant() { VariantInit(&value_); }
    ~Variant() { VariantClear(&value_); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    VARIANT* get() { return &value_; }

  private:
    VARIANT value_;
};

template <typename Interface>
Interface* As(WmiObject object) {
    return reinterpret_cast<Interface*>(object);
}

template <typename Interface>
WmiObject Handle(ComPtr<Interface>& pointer) {
    return reinterpret_cast<WmiObject>(pointer.Detach());
}

std::wstring BstrText(BSTR text) {
    return text != nullptr ? std::wstring(text, SysStringLen(text)) : std::wstring();
}

}  // namespace

std::int32_t Win32Wmi::CreateLocator(WmiObject& locator) {
    ComPtr<IWbemLocator> created;
    const HRESULT status = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER,
                                            IID_IWbemLocator, &created);
    locator = SUCCEEDED(status) ? Handle(created) : 0;
    return status;
}

std::int32_t Win32Wmi::ConnectServer(WmiObject locator, const std::wstring& nameSpace,
                                     WmiObject& services) {
    services = 0;
    const UniqueBstr name = Bstr(nameSpace);
    if (!name) return E_OUTOFMEMORY;
    ComPtr<IWbemServices> connected;
    const HRESULT status = As<IWbemLocator>(locator)->ConnectServer(
        name.get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr, &connected);
    if (SUCCEEDED(status)) services = Handle(connected);
    return status;
}

std::int32_t Win32Wmi::SetProxyBlanket(WmiObject services, const ProxyBlanket& blanket) {
    return CoSetProxyBlanket(As<IUnknown>(services), blanket.authenticationService,
                             blanket.authorizationService, nullptr, blanket.authenticationLevel,
                             blanket.impersonationLevel, nullptr, blanket.capabilities);
}

std::int32_t Win32Wmi::ExecQuery(WmiObject services, const std::wstring& language,
                                 const std::wstring& query, std::int32_t flags,
                                 WmiObject& enumerator) {
    enumerator = 0;
    const UniqueBstr languageText = Bstr(language);
    const UniqueBstr queryText = Bstr(query);
    if (!languageText || !queryText) return E_OUTOFMEMORY;
    ComPtr<IEnumWbemClassObject> rows;
    const HRESULT status = As<IWbemServices>(services)->ExecQuery(
        languageText.get(), queryText.get(), flags, nullptr, &rows);
    if (SUCCEEDED(status)) enumerator = Handle(rows);
    return status;
}

std::int32_t Win32Wmi::Next(WmiObject enumerator, std::uint32_t timeout, std::uint32_t count,
                            std::vector<WmiObject>& rows) {
    rows.clear();
    std::vector<IWbemClassObject*> objects(count, nullptr);
    ULONG returned = 0;
    const HRESULT status = As<IEnumWbemClassObject>(enumerator)
                               ->Next(static_cast<LONG>(timeout), count, objects.data(), &returned);
    for (ULONG i = 0; i < returned && i < count; ++i) {
        rows.push_back(reinterpret_cast<WmiObject>(objects[i]));
    }
    return status;
}

std::int32_t Win32Wmi::GetProperty(WmiObject row, const std::wstring& name, WmiValue& value) {
    value = WmiValue{};
    Variant stored;
    CIMTYPE type = CIM_EMPTY;
    const HRESULT status =
        As<IWbemClassObject>(row)->Get(name.c_str(), 0, stored.get(), &type, nullptr);
    if (FAILED(status)) return status;
    value.cimType = type;
    value.isNull = stored.get()->vt == VT_NULL;
    if (stored.get()->vt == VT_BSTR) {
        value.text = BstrText(stored.get()->bstrVal);
    } else {
        Variant text;
        value.textStatus = VariantChangeType(text.get(), stored.get(), 0, VT_BSTR);
        if (SUCCEEDED(value.textStatus)) value.text = BstrText(text.get()->bstrVal);
    }
    Variant number;
    value.numberStatus = VariantChangeType(number.get(), stored.get(), 0, VT_UI4);
    if (SUCCEEDED(value.numberStatus)) value.number = number.get()->ulVal;
    return status;
}

void Win32Wmi::Release(WmiObject object) { As<IUnknown>(object)->Release(); }

}  // namespace rigel::os
