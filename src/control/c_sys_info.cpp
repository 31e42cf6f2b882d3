#include "control/c_sys_info.h"

#include <exception>
#include <new>

#include "control/c_detection_module.h"
#include "control/logic/parameter_tags.h"
#include "control/logic/site_lock.h"
#include "control/logic/sys_info_dispid.h"
#include "control/unique_bstr.h"
#include "control/unique_variant.h"
#include "control/win32_hosting_page.h"
#include "core/decimal_text.h"
#include "core/exception.h"
#include "core/group_id.h"
#include "core/system.h"
#include "core/system_value_id.h"
#include "core/xml_report.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "service/web_service_analysis.h"

namespace rigel {

// The safety options mirror these published values.
static_assert(SafetyOptions::kForUntrustedCaller ==
              static_cast<std::uint32_t>(INTERFACESAFE_FOR_UNTRUSTED_CALLER));
static_assert(SafetyOptions::kForUntrustedData ==
              static_cast<std::uint32_t>(INTERFACESAFE_FOR_UNTRUSTED_DATA));

namespace {

// Runs a member's body; no exception may leave a COM method. The members log and swallow their own
// failures, so what reaches here is resource exhaustion.
template <typename Body>
HRESULT Guarded(Body&& body) noexcept {
    try {
        body();
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

// Getters write their result only when the caller passed somewhere to write it.
void Write(BSTR* pVal, const std::wstring& text) {
    if (pVal != nullptr) *pVal = UniqueBstr(text).release();
}

std::wstring Text(BSTR bstr) { return UniqueBstr::Text(bstr); }

// The standard exception's narrow text is ASCII.
std::wstring Widen(const char* text) {
    std::wstring wide;
    for (; *text != '\0'; ++text) wide += static_cast<wchar_t>(static_cast<unsigned char>(*text));
    return wide;
}

void LogCaught() { Log::Instance().Line(Log::kError, L"Caught exception."); }

// The sites whose pages may script the control, as this build was configured.
const SiteLock& BuiltSiteLock() {
    static const SiteLock lock(Widen(RIGEL_ALLOWED_SITES));
    return lock;
}

}  // namespace

// Without a list of allowed sites any page may script the control. With one, a page may only
// when its address is on the list: the control is meant to serve its own sites' pages, not to be
// scripted by any page that embeds it. A host that gives the control no site, or a site with no
// page behind it (a script host, an automation client), is always permitted.
// A page whose address cannot even be judged (out of memory) is refused.
bool CSysInfo::Permitted() noexcept {
    if (!site_) return true;
    try {
        const SiteLock& lock = BuiltSiteLock();
        if (!lock.Locks()) return true;
        const SiteLock::Verdict verdict = lock.Judge(Win32HostingPage::Find(site_.Get()));
        if (!verdict.allowed && !refusalLogged_) {
            refusalLogged_ = true;
            Log::Instance().Line(Log::kError, verdict.reason);
        }
        return verdict.allowed;
    } catch (...) {
        return false;
    }
}

template <typename Body>
HRESULT CSysInfo::Scripted(BSTR* pVal, Body&& body) {
    return Guarded([&] {
        if (Permitted()) {
            body();
        } else {
            Write(pVal, std::wstring());
        }
    });
}

HRESULT CSysInfo::Create(IUnknown* outer, REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
    CSysInfo* created = new (std::nothrow) CSysInfo(outer);
    if (created == nullptr) return E_OUTOFMEMORY;
    const HRESULT result = created->inner_.QueryInterface(iid, object);
    // Drops the creation reference: a failed query deletes the object again.
    created->inner_.Release();
    return result;
}

CSysInfo::CSysInfo(IUnknown* outer) : outer_(outer != nullptr ? outer : &inner_) {
    CDetectionModule::Instance().Lock();
}

CSysInfo::~CSysInfo() { CDetectionModule::Instance().Unlock(); }

// ---- IUnknown -------------------------------------------------------------------------------

STDMETHODIMP CSysInfo::InnerUnknown::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    if (iid == IID_IUnknown) {
        *object = static_cast<IUnknown*>(this);
    } else if (iid == IID_ISysInfo) {
        *object = static_cast<ISysInfo*>(&owner_);
    } else if (iid == IID_IDispatch) {
        *object = static_cast<IDispatch*>(static_cast<ISysInfo*>(&owner_));
    } else if (iid == IID_IObjectWithSite) {
        *object = static_cast<IObjectWithSite*>(&owner_);
    } else if (iid == IID_IObjectSafety) {
        *object = static_cast<IObjectSafety*>(&owner_);
    } else if (iid == IID_IPersistPropertyBag) {
        *object = static_cast<IPersistPropertyBag*>(&owner_);
    } else {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    // Through the interface handed out, so that an aggregated object counts on its outer object.
    static_cast<IUnknown*>(*object)->AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) CSysInfo::InnerUnknown::AddRef() { return ++owner_.references_; }

STDMETHODIMP_(ULONG) CSysInfo::InnerUnknown::Release() {
    const ULONG references = --owner_.references_;
    if (references == 0) delete &owner_;
    return references;
}

STDMETHODIMP CSysInfo::QueryInterface(REFIID iid, void** object) {
    return outer_->QueryInterface(iid, object);
}

STDMETHODIMP_(ULONG) CSysInfo::AddRef() { return outer_->AddRef(); }

STDMETHODIMP_(ULONG) CSysInfo::Release() { return outer_->Release(); }

// ---- IDispatch ------------------------------------------------------------------------------

HRESULT CSysInfo::LoadTypeInfo() {
    if (typeInfo_) return S_OK;
    return CDetectionModule::Instance().LoadTypeInfo(IID_ISysInfo, &typeInfo_);
}

STDMETHODIMP CSysInfo::GetTypeInfoCount(UINT* count) {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
}

STDMETHODIMP CSysInfo::GetTypeInfo(UINT index, LCID, ITypeInfo** info) {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    const HRESULT result = LoadTypeInfo();
    if (FAILED(result)) return result;
    return typeInfo_.CopyTo(info);
}

STDMETHODIMP CSysInfo::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID,
                                     DISPID* dispids) {
    if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    const HRESULT result = LoadTypeInfo();
    if (FAILED(result)) return result;
    return DispGetIDsOfNames(typeInfo_.Get(), names, count, dispids);
}

STDMETHODIMP CSysInfo::Invoke(DISPID dispid, REFIID iid, LCID, WORD flags, DISPPARAMS* params,
                              VARIANT* result, EXCEPINFO* exception, UINT* argumentError) {
    if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    const HRESULT loaded = LoadTypeInfo();
    if (FAILED(loaded)) return loaded;
    return typeInfo_->Invoke(static_cast<ISysInfo*>(this), dispid, flags, params, result, exception,
                             argumentError);
}

// ---- ISysInfo -------------------------------------------------------------------------------

STDMETHODIMP CSysInfo::get_Analysis(BSTR id, BSTR format, BSTR schema, BSTR* pVal) {
    return Scripted(pVal, [&] {
        ScopeTrace trace(L"CSysInfo::get_Analysis");
        Detect();
        try {
            WebServiceAnalysis request;
            request.SetItemID(Text(id));
            request.SetMessageFormat(Text(format));
            request.SetFormatVersion(Text(schema));
            request.Call();
            Write(pVal, request.GetResult());
        } catch (const Exception& failure) {
            Log::Instance().Line(Log::kError, L"Caught exception: ", failure.GetMessageText());
        } catch (const std::exception& failure) {
            Log::Instance().Line(Log::kError, L"Caught exception: ", Widen(failure.what()));
        } catch (...) {
            LogCaught();
        }
    });
}

STDMETHODIMP CSysInfo::get_Logging(BSTR* pVal) {
    return Scripted(pVal, [&] { Write(pVal, std::to_wstring(Log::Instance().GetLevel())); });
}

STDMETHODIMP CSysInfo::put_Logging(BSTR value) {
    return Scripted(nullptr, [&] {
        ScopeTrace trace(L"CSysInfo::put_Logging");
        try {
            const std::int32_t level = ParseSignedDecimal(Text(value));
            Log::Instance().Line(Log::kTrace, L"Setting level to: ", level);
            Log::Instance().SetLevel(level);
        } catch (...) {
            Log::Instance().Line(Log::kError, L"Caught exception in put_Logging");
        }
    });
}

STDMETHODIMP CSysInfo::get_ReferrerID(BSTR* pVal) {
    return Scripted(pVal, [&] { Write(pVal, System::Instance().GetReferrerID()); });
}

STDMETHODIMP CSysInfo::put_ReferrerID(BSTR value) {
    return Scripted(nullptr, [&] {
        ScopeTrace trace(L"CSysInfo::put_ReferrerID");
        System::Instance().SetReferrerID(Text(value));
    });
}

STDMETHODIMP CSysInfo::get_SessionID(BSTR* pVal) {
    return Scripted(pVal, [&] { Write(pVal, System::Instance().GetSessionID()); });
}

STDMETHODIMP CSysInfo::put_SessionID(BSTR value) {
    return Scripted(nullptr, [&] { System::Instance().SetSessionID(Text(value)); });
}

STDMETHODIMP CSysInfo::get_System(BSTR, BSTR* pVal) {
    HRESULT result = S_OK;
    const HRESULT guarded = Scripted(pVal, [&] {
        ScopeTrace trace(L"CSysInfo::get_System");
        result = get_SysInfo(pVal);
    });
    return FAILED(guarded) ? guarded : result;
}

STDMETHODIMP CSysInfo::get_UserID(BSTR* pVal) {
    return Scripted(pVal, [&] { Write(pVal, System::Instance().GetUserID()); });
}

STDMETHODIMP CSysInfo::put_UserID(BSTR value) {
    return Scripted(nullptr, [&] { System::Instance().SetUserID(Text(value)); });
}

STDMETHODIMP CSysInfo::get_Version(BSTR* pVal) {
    return Scripted(pVal, [&] { Write(pVal, System::GetVersion()); });
}

STDMETHODIMP CSysInfo::Detect() {
    return Scripted(nullptr, [] {
        // A detection run is always logged in full (the log caps the level at its maximum).
        Log::Instance().SetLevel(99);
        ScopeTrace trace(L"CSysInfo::Detect");
        try {
            System::Instance().Detect();
        } catch (...) {
            LogCaught();
        }
    });
}

STDMETHODIMP CSysInfo::get_Value(BSTR id, BSTR* pVal) {
    return Scripted(pVal, [&] {
        Detect();
        try {
            const SystemValueID valueID(GroupID(Text(id)), 0);
            Write(pVal, System::Instance().GetSystemValues().GetValue(valueID).text);
        } catch (...) {
            LogCaught();
        }
    });
}

STDMETHODIMP CSysInfo::get_SysInfo(BSTR* pVal) {
    return Scripted(pVal, [&] {
        ScopeTrace trace(L"CSysInfo::get_SysInfo");
        std::wstring report;
        try {
            System& system = System::Instance();
            system.Detect();
            XMLReport(system.GetSystemValues()).GetReport(report);
        } catch (...) {
            LogCaught();
            report.clear();
        }
        Write(pVal, report);
    });
}

STDMETHODIMP CSysInfo::put_SysInfo(BSTR) { return S_OK; }

STDMETHODIMP CSysInfo::get_Debug(BSTR* pVal) {
    return Scripted(pVal, [&] { Write(pVal, System::Instance().IsDebug() ? L"1" : L"0"); });
}

STDMETHODIMP CSysInfo::put_Debug(BSTR value) {
    return Scripted(nullptr, [&] { System::Instance().SetDebug(Text(value)); });
}

STDMETHODIMP CSysInfo::Configure(BSTR val) {
    return Scripted(nullptr, [&] {
        ScopeTrace trace(L"CSysInfo::Configure");
        // One text may carry both the configuration tags and a groups configuration.
        const std::wstring configuration = Text(val);
        System& system = System::Instance();
        system.SetConfiguration(configuration);
        system.GetSystemValues().AddValues(configuration);
    });
}

STDMETHODIMP CSysInfo::get_ComputerID(BSTR* pVal) {
    return Scripted(pVal, [&] { Write(pVal, System::Instance().GetComputerID()); });
}

STDMETHODIMP CSysInfo::put_ComputerID(BSTR value) {
    return Scripted(nullptr, [&] { System::Instance().SetComputerID(Text(value)); });
}

// ---- IObjectWithSite ------------------------------------------------------------------------

STDMETHODIMP CSysInfo::SetSite(IUnknown* site) {
    site_ = site;
    refusalLogged_ = false;
    return S_OK;
}

STDMETHODIMP CSysInfo::GetSite(REFIID iid, void** site) {
    if (site == nullptr) return E_POINTER;
    *site = nullptr;
    if (!site_) return E_FAIL;
    return site_->QueryInterface(iid, site);
}

// ---- IObjectSafety --------------------------------------------------------------------------

STDMETHODIMP CSysInfo::GetInterfaceSafetyOptions(REFIID iid, DWORD* supported, DWORD* enabled) {
    if (supported == nullptr || enabled == nullptr) return E_POINTER;
    Microsoft::WRL::ComPtr<IUnknown> probe;
    const HRESULT result = inner_.QueryInterface(iid, &probe);
    if (FAILED(result)) {
        *supported = 0;
        *enabled = 0;
        return result;
    }
    const bool permitted = Permitted();
    *supported = SafetyOptions::Supported(permitted);
    *enabled = safety_.Enabled(permitted);
    return S_OK;
}

STDMETHODIMP CSysInfo::SetInterfaceSafetyOptions(REFIID iid, DWORD mask, DWORD enabled) {
    Microsoft::WRL::ComPtr<IUnknown> probe;
    const HRESULT result = inner_.QueryInterface(iid, &probe);
    if (FAILED(result)) return result;
    return safety_.Set(mask, enabled, Permitted()) ? S_OK : E_FAIL;
}

// ---- IPersistPropertyBag --------------------------------------------------------------------

STDMETHODIMP CSysInfo::GetClassID(CLSID* clsid) {
    if (clsid == nullptr) return E_POINTER;
    *clsid = CLSID_SysInfo;
    return S_OK;
}

// The session starts with its own defaults; there is nothing to initialise.
STDMETHODIMP CSysInfo::InitNew() { return S_OK; }

void CSysInfo::ApplyTag(std::int32_t dispid, const std::wstring& text) {
    const UniqueBstr value(text);
    switch (dispid) {
        case kDispidLogging:
            put_Logging(value.get());
            break;
        case kDispidSessionID:
            put_SessionID(value.get());
            break;
        case kDispidReferrerID:
            put_ReferrerID(value.get());
            break;
        case kDispidUserID:
            put_UserID(value.get());
            break;
        case kDispidDebug:
            put_Debug(value.get());
            break;
        default:
            break;
    }
}

STDMETHODIMP CSysInfo::Load(IPropertyBag* bag, IErrorLog* errorLog) {
    if (bag == nullptr) return E_POINTER;
    return Guarded([&] {
        ParameterTags::Load(
            [&](const std::wstring& key, std::wstring& text) {
                UniqueVariant value;
                V_VT(value.get()) = VT_BSTR;
                V_BSTR(value.get()) = nullptr;
                if (bag->Read(key.c_str(), value.get(), errorLog) != S_OK) return false;
                // A bag may answer with another type than the one asked for.
                if (V_VT(value.get()) != VT_BSTR &&
                    FAILED(VariantChangeType(value.get(), value.get(), 0, VT_BSTR))) {
                    return false;
                }
                text = Text(V_BSTR(value.get()));
                return true;
            },
            [&](std::int32_t dispid, const std::wstring& text) { ApplyTag(dispid, text); });
    });
}

STDMETHODIMP CSysInfo::Save(IPropertyBag* bag, BOOL, BOOL) {
    if (bag == nullptr) return E_POINTER;
    HRESULT result = S_OK;
    const HRESULT guarded = Guarded([&] {
        for (const ParameterTags::Tag& tag : ParameterTags::SaveOrder()) {
            UniqueVariant value;
            DISPPARAMS none{};
            result = Invoke(tag.dispid, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                            value.get(), nullptr, nullptr);
            if (FAILED(result)) return;
            result = bag->Write(tag.key, value.get());
            if (FAILED(result)) return;
        }
    });
    return FAILED(guarded) ? guarded : result;
}

}  // namespace rigel
