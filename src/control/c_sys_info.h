#pragma once

#include <windows.h>

#include <objsafe.h>
#include <ocidl.h>
#include <wrl/client.h>

#include <cstdint>
#include <string>

#include "control/logic/safety_options.h"
#include "detection.h"

namespace rigel {

// The scriptable object SysInfo. It keeps no detection state of its own: every member forwards to
// the process's detection session, so all objects of a process share one session, store and log.
// Every member returns S_OK; failures end as log lines. Supports aggregation.
class CSysInfo final : public ISysInfo,
                       public IObjectWithSite,
                       public IObjectSafety,
                       public IPersistPropertyBag {
  public:
    // Makes an object; an aggregating outer object may ask only for IUnknown.
    static HRESULT Create(IUnknown* outer, REFIID iid, void** object);

    CSysInfo(const CSysInfo&) = delete;
    CSysInfo& operator=(const CSysInfo&) = delete;

    // IUnknown, delegating to the controlling unknown.
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    // IDispatch, served from the type library embedded in the module.
    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                               DISPID* dispids) override;
    STDMETHODIMP Invoke(DISPID dispid, REFIID iid, LCID locale, WORD flags, DISPPARAMS* params,
                        VARIANT* result, EXCEPINFO* exception, UINT* argumentError) override;

    // ISysInfo.
    STDMETHODIMP get_Analysis(BSTR id, BSTR format, BSTR schema, BSTR* pVal) override;
    STDMETHODIMP get_Logging(BSTR* pVal) override;
    STDMETHODIMP put_Logging(BSTR value) override;
    STDMETHODIMP get_ReferrerID(BSTR* pVal) override;
    STDMETHODIMP put_ReferrerID(BSTR value) override;
    STDMETHODIMP get_SessionID(BSTR* pVal) override;
    STDMETHODIMP put_SessionID(BSTR value) override;
    STDMETHODIMP get_System(BSTR filter, BSTR* pVal) override;
    STDMETHODIMP get_UserID(BSTR* pVal) override;
    STDMETHODIMP put_UserID(BSTR value) override;
    STDMETHODIMP get_Version(BSTR* pVal) override;
    STDMETHODIMP Detect() override;
    STDMETHODIMP get_Value(BSTR id, BSTR* pVal) override;
    STDMETHODIMP get_SysInfo(BSTR* pVal) override;
    STDMETHODIMP put_SysInfo(BSTR value) override;
    STDMETHODIMP get_Debug(BSTR* pVal) override;
    STDMETHODIMP put_Debug(BSTR value) override;
    STDMETHODIMP Configure(BSTR val) override;
    STDMETHODIMP get_ComputerID(BSTR* pVal) override;
    STDMETHODIMP put_ComputerID(BSTR value) override;

    // IObjectWithSite.
    STDMETHODIMP SetSite(IUnknown* site) override;
    STDMETHODIMP GetSite(REFIID iid, void** site) override;

    // IObjectSafety.
    STDMETHODIMP GetInterfaceSafetyOptions(REFIID iid, DWORD* supported, DWORD* enabled) override;
    STDMETHODIMP SetInterfaceSafetyOptions(REFIID iid, DWORD mask, DWORD enabled) override;

    // IPersistPropertyBag: the page's parameter tags.
    STDMETHODIMP GetClassID(CLSID* clsid) override;
    STDMETHODIMP InitNew() override;
    STDMETHODIMP Load(IPropertyBag* bag, IErrorLog* errorLog) override;
    STDMETHODIMP Save(IPropertyBag* bag, BOOL clearDirty, BOOL saveAllProperties) override;

  private:
    // The object's own identity and reference count; the controlling unknown when the object is
    // not aggregated.
    class InnerUnknown final : public IUnknown {
      public:
        explicit InnerUnknown(CSysInfo& owner) : owner_(owner) {}
        InnerUnknown(const InnerUnknown&) = delete;
        InnerUnknown& operator=(const InnerUnknown&) = delete;

        STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
        STDMETHODIMP_(ULONG) AddRef() override;
        STDMETHODIMP_(ULONG) Release() override;

      private:
        CSysInfo& owner_;
    };

    explicit CSysInfo(IUnknown* outer);
    ~CSysInfo();

    HRESULT LoadTypeInfo();
    // Whether the hosting page may script the control (see CSysInfo::Permitted).
    bool Permitted() noexcept;
    // Runs a scripting member's body, or, while the site lock keeps the control inactive, leaves
    // everything as it is and answers with an empty result.
    template <typename Body>
    HRESULT Scripted(BSTR* pVal, Body&& body);
    // Applies one parameter tag through the put member of its property.
    void ApplyTag(std::int32_t dispid, const std::wstring& text);

    InnerUnknown inner_{*this};
    IUnknown* outer_;
    ULONG references_ = 1;
    Microsoft::WRL::ComPtr<IUnknown> site_;
    Microsoft::WRL::ComPtr<ITypeInfo> typeInfo_;
    SafetyOptions safety_;
    // The site lock's refusal is logged once per site.
    bool refusalLogged_ = false;
};

}  // namespace rigel
