#include "os/win32/win32_diagnostics.h"

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>
// The provider's class and interface identifiers are defined in this file and in no library.
#include <initguid.h>
// clang-format off
#include <dxdiag.h>
// clang-format on

namespace rigel::os {
namespace {

IDxDiagContainer* Container(ComObject object) {
    return reinterpret_cast<IDxDiagContainer*>(object);
}

IDxDiagProvider* Provider(ComObject object) { return reinterpret_cast<IDxDiagProvider*>(object); }

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

std::wstring BstrText(BSTR text) {
    return text != nullptr ? std::wstring(text, SysStringLen(text)) : std::wstring();
}

template <typename Enumerate>
std::int32_t NameAt(std::uint32_t capacity, std::wstring& name, Enumerate enumerate) {
    std::wstring buffer(capacity, L'\0');
    const HRESULT status = enumerate(buffer.data(), static_cast<DWORD>(capacity));
    if (SUCCEEDED(status)) name.assign(buffer.c_str());
    return status;
}

}  // namespace

std::int32_t Win32Diagnostics::InitializeCom() { return CoInitialize(nullptr); }

void Win32Diagnostics::UninitializeCom() { CoUninitialize(); }

std::int32_t Win32Diagnostics::CreateProvider(ComObject& provider) {
    IDxDiagProvider* created = nullptr;
    const HRESULT status =
        CoCreateInstance(CLSID_DxDiagProvider, nullptr, CLSCTX_INPROC_SERVER, IID_IDxDiagProvider,
                         reinterpret_cast<void**>(&created));
    provider = SUCCEEDED(status) ? reinterpret_cast<ComObject>(created) : 0;
    return status;
}

std::int32_t Win32Diagnostics::Initialize(ComObject provider,
                                          const DiagnosticsParameters& parameters) {
    DXDIAG_INIT_PARAMS block{};
    block.dwSize = parameters.size;
    block.dwDxDiagHeaderVersion = parameters.headerVersion;
    block.bAllowWHQLChecks = parameters.allowWhqlChecks ? TRUE : FALSE;
    block.pReserved = nullptr;
    return Provider(provider)->Initialize(&block);
}

std::int32_t Win32Diagnostics::GetRootContainer(ComObject provider, ComObject& root) {
    IDxDiagContainer* container = nullptr;
    const HRESULT status = Provider(provider)->GetRootContainer(&container);
    root = SUCCEEDED(status) ? reinterpret_cast<ComObject>(container) : 0;
    return status;
}

std::int32_t Win32Diagnostics::GetChildContainer(ComObject container, const std::wstring& name,
                                                 ComObject& child) {
    IDxDiagContainer* found = nullptr;
    const HRESULT status = Container(container)->GetChildContainer(name.c_str(), &found);
    child = SUCCEEDED(status) ? reinterpret_cast<ComObject>(found) : 0;
    return status;
}

std::int32_t Win32Diagnostics::GetNumberOfChildContainers(ComObject container,
                                                          std::uint32_t& count) {
    DWORD number = 0;
    const HRESULT status = Container(container)->GetNumberOfChildContainers(&number);
    count = number;
    return status;
}

std::int32_t Win32Diagnostics::EnumChildContainerNames(ComObject container, std::uint32_t index,
                                                       std::uint32_t capacity, std::wstring& name) {
    return NameAt(capacity, name, [&](wchar_t* buffer, DWORD size) {
        return Container(container)->EnumChildContainerNames(index, buffer, size);
    });
}

std::int32_t Win32Diagnostics::GetNumberOfProps(ComObject container, std::uint32_t& count) {
    DWORD number = 0;
    const HRESULT status = Container(container)->GetNumberOfProps(&number);
    count = number;
    return status;
}

std::int32_t Win32Diagnostics::EnumPropNames(ComObject container, std::uint32_t index,
                                             std::uint32_t capacity, std::wstring& name) {
    return NameAt(capacity, name, [&](wchar_t* buffer, DWORD size) {
        return Container(container)->EnumPropNames(index, buffer, size);
    });
}

std::int32_t Win32Diagnostics::GetProperty(ComObject container, const std::wstring& name,
                                           DiagnosticsValue& value) {
    value = DiagnosticsValue{};
    Variant stored;
    const HRESULT status = Container(container)->GetProp(name.c_str(), stored.get());
    if (FAILED(status)) return status;
    value.type = stored.get()->vt;
    if (value.type == VT_UI4) value.number = stored.get()->ulVal;
    if (value.type == VT_BSTR) {
        value.text = BstrText(stored.get()->bstrVal);
    } else {
        Variant text;
        value.textStatus = VariantChangeType(text.get(), stored.get(), 0, VT_BSTR);
        if (SUCCEEDED(value.textStatus)) value.text = BstrText(text.get()->bstrVal);
    }
    return status;
}

void Win32Diagnostics::Release(ComObject object) { reinterpret_cast<IUnknown*>(object)->Release(); }

}  // namespace rigel::os
