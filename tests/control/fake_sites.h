// Sites that a container hands the control, for its site lock: one whose service provider offers
// a web browser showing an address, one whose client site sits in a document with an address, and
// one that offers neither. All live on automatic storage and count their references without ever
// deleting themselves. Members that the control never calls are not implemented.

#pragma once

#include <windows.h>

#include <exdisp.h>
#include <mshtml.h>
#include <ocidl.h>
#include <oleauto.h>
#include <servprov.h>
#include <shlguid.h>

#include <initializer_list>
#include <optional>
#include <string>

namespace rigel {

// QueryInterface over the interfaces an object answers, each with the pointer to hand out.
inline HRESULT Answer(REFIID iid, void** object,
                      std::initializer_list<std::pair<const IID*, IUnknown*>> answers) {
    if (object == nullptr) return E_POINTER;
    for (const auto& [answered, pointer] : answers) {
        if (iid == *answered) {
            *object = pointer;
            pointer->AddRef();
            return S_OK;
        }
    }
    *object = nullptr;
    return E_NOINTERFACE;
}

// An address, or a getter that fails when there is none.
inline HRESULT AddressOut(const std::optional<std::wstring>& address, BSTR* out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (!address) return E_FAIL;
    *out = SysAllocStringLen(address->data(), static_cast<UINT>(address->size()));
    return *out != nullptr ? S_OK : E_OUTOFMEMORY;
}

// A dual interface whose dispatch half the control never uses.
template <typename Interface>
class WithoutDispatch : public Interface {
  public:
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                        UINT*) override {
        return E_NOTIMPL;
    }
};

class FakeWebBrowser final : public WithoutDispatch<IWebBrowser2> {
  public:
    std::optional<std::wstring> address;
    ULONG references = 0;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        return Answer(iid, object,
                      {{&IID_IUnknown, this},
                       {&IID_IDispatch, this},
                       {&IID_IWebBrowser, this},
                       {&IID_IWebBrowserApp, this},
                       {&IID_IWebBrowser2, this}});
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }
    STDMETHODIMP get_LocationURL(BSTR* url) override { return AddressOut(address, url); }

    STDMETHODIMP GoBack() override { return E_NOTIMPL; }
    STDMETHODIMP GoForward() override { return E_NOTIMPL; }
    STDMETHODIMP GoHome() override { return E_NOTIMPL; }
    STDMETHODIMP GoSearch() override { return E_NOTIMPL; }
    STDMETHODIMP Navigate(BSTR, VARIANT*, VARIANT*, VARIANT*, VARIANT*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Refresh() override { return E_NOTIMPL; }
    STDMETHODIMP Refresh2(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP Stop() override { return E_NOTIMPL; }
    STDMETHODIMP get_Application(IDispatch**) override { return E_NOTIMPL; }
    STDMETHODIMP get_Parent(IDispatch**) override { return E_NOTIMPL; }
    STDMETHODIMP get_Container(IDispatch**) override { return E_NOTIMPL; }
    STDMETHODIMP get_Document(IDispatch**) override { return E_NOTIMPL; }
    STDMETHODIMP get_TopLevelContainer(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP get_Type(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_Left(LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Left(LONG) override { return E_NOTIMPL; }
    STDMETHODIMP get_Top(LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Top(LONG) override { return E_NOTIMPL; }
    STDMETHODIMP get_Width(LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Width(LONG) override { return E_NOTIMPL; }
    STDMETHODIMP get_Height(LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Height(LONG) override { return E_NOTIMPL; }
    STDMETHODIMP get_LocationName(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_Busy(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP Quit() override { return E_NOTIMPL; }
    STDMETHODIMP ClientToWindow(int*, int*) override { return E_NOTIMPL; }
    STDMETHODIMP PutProperty(BSTR, VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP GetProperty(BSTR, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP get_Name(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_HWND(SHANDLE_PTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_FullName(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_Path(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_Visible(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Visible(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_StatusBar(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_StatusBar(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_StatusText(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP put_StatusText(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_ToolBar(int*) override { return E_NOTIMPL; }
    STDMETHODIMP put_ToolBar(int) override { return E_NOTIMPL; }
    STDMETHODIMP get_MenuBar(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_MenuBar(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_FullScreen(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_FullScreen(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP Navigate2(VARIANT*, VARIANT*, VARIANT*, VARIANT*, VARIANT*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP QueryStatusWB(OLECMDID, OLECMDF*) override { return E_NOTIMPL; }
    STDMETHODIMP ExecWB(OLECMDID, OLECMDEXECOPT, VARIANT*, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP ShowBrowserBar(VARIANT*, VARIANT*, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP get_ReadyState(READYSTATE*) override { return E_NOTIMPL; }
    STDMETHODIMP get_Offline(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Offline(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_Silent(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Silent(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_RegisterAsBrowser(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_RegisterAsBrowser(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_RegisterAsDropTarget(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_RegisterAsDropTarget(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_TheaterMode(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_TheaterMode(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_AddressBar(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_AddressBar(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_Resizable(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Resizable(VARIANT_BOOL) override { return E_NOTIMPL; }
};

// A page's site as a browser hands it out: its service provider offers the web browser.
class FakeBrowserSite final : public IServiceProvider {
  public:
    explicit FakeBrowserSite(std::optional<std::wstring> address) {
        browser.address = std::move(address);
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        return Answer(iid, object, {{&IID_IUnknown, this}, {&IID_IServiceProvider, this}});
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }
    STDMETHODIMP QueryService(REFGUID service, REFIID iid, void** object) override {
        if (object == nullptr) return E_POINTER;
        *object = nullptr;
        if (service != SID_SWebBrowserApp) return E_NOINTERFACE;
        return browser.QueryInterface(iid, object);
    }

    FakeWebBrowser browser;
    ULONG references = 0;
};

class FakeDocument final : public WithoutDispatch<IHTMLDocument2>, public IOleContainer {
  public:
    std::optional<std::wstring> address;
    ULONG references = 0;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        IUnknown* document = static_cast<IHTMLDocument2*>(this);
        IUnknown* container = static_cast<IOleContainer*>(this);
        return Answer(iid, object,
                      {{&IID_IUnknown, document},
                       {&IID_IDispatch, document},
                       {&IID_IHTMLDocument, document},
                       {&IID_IHTMLDocument2, document},
                       {&IID_IParseDisplayName, container},
                       {&IID_IOleContainer, container}});
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }
    STDMETHODIMP get_URL(BSTR* url) override { return AddressOut(address, url); }

    STDMETHODIMP ParseDisplayName(IBindCtx*, LPOLESTR, ULONG*, IMoniker**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP EnumObjects(DWORD, IEnumUnknown**) override { return E_NOTIMPL; }
    STDMETHODIMP LockContainer(BOOL) override { return E_NOTIMPL; }

    STDMETHODIMP get_Script(IDispatch**) override { return E_NOTIMPL; }
    STDMETHODIMP get_all(IHTMLElementCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP get_body(IHTMLElement**) override { return E_NOTIMPL; }
    STDMETHODIMP get_activeElement(IHTMLElement**) override { return E_NOTIMPL; }
    STDMETHODIMP get_images(IHTMLElementCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP get_applets(IHTMLElementCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP get_links(IHTMLElementCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP get_forms(IHTMLElementCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP get_anchors(IHTMLElementCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP put_title(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_title(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_scripts(IHTMLElementCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP put_designMode(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_designMode(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_selection(IHTMLSelectionObject**) override { return E_NOTIMPL; }
    STDMETHODIMP get_readyState(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_frames(IHTMLFramesCollection2**) override { return E_NOTIMPL; }
    STDMETHODIMP get_embeds(IHTMLElementCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP get_plugins(IHTMLElementCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP put_alinkColor(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_alinkColor(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_bgColor(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_bgColor(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_fgColor(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_fgColor(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_linkColor(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_linkColor(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_vlinkColor(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_vlinkColor(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP get_referrer(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_location(IHTMLLocation**) override { return E_NOTIMPL; }
    STDMETHODIMP get_lastModified(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP put_URL(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP put_domain(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_domain(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP put_cookie(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_cookie(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP put_expando(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_expando(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_charset(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_charset(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP put_defaultCharset(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_defaultCharset(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_mimeType(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_fileSize(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_fileCreatedDate(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_fileModifiedDate(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_fileUpdatedDate(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_security(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_protocol(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_nameProp(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP write(SAFEARRAY*) override { return E_NOTIMPL; }
    STDMETHODIMP writeln(SAFEARRAY*) override { return E_NOTIMPL; }
    STDMETHODIMP open(BSTR, VARIANT, VARIANT, VARIANT, IDispatch**) override { return E_NOTIMPL; }
    STDMETHODIMP close() override { return E_NOTIMPL; }
    STDMETHODIMP clear() override { return E_NOTIMPL; }
    STDMETHODIMP queryCommandSupported(BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP queryCommandEnabled(BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP queryCommandState(BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP queryCommandIndeterm(BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP queryCommandText(BSTR, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP queryCommandValue(BSTR, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP execCommand(BSTR, VARIANT_BOOL, VARIANT, VARIANT_BOOL*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP execCommandShowHelp(BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP createElement(BSTR, IHTMLElement**) override { return E_NOTIMPL; }
    STDMETHODIMP put_onhelp(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onhelp(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onclick(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onclick(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_ondblclick(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_ondblclick(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onkeyup(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onkeyup(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onkeydown(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onkeydown(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onkeypress(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onkeypress(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onmouseup(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onmouseup(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onmousedown(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onmousedown(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onmousemove(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onmousemove(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onmouseout(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onmouseout(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onmouseover(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onmouseover(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onreadystatechange(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onreadystatechange(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onafterupdate(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onafterupdate(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onrowexit(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onrowexit(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onrowenter(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onrowenter(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_ondragstart(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_ondragstart(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onselectstart(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onselectstart(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP elementFromPoint(LONG, LONG, IHTMLElement**) override { return E_NOTIMPL; }
    STDMETHODIMP get_parentWindow(IHTMLWindow2**) override { return E_NOTIMPL; }
    STDMETHODIMP get_styleSheets(IHTMLStyleSheetsCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP put_onbeforeupdate(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onbeforeupdate(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_onerrorupdate(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_onerrorupdate(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP toString(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP createStyleSheet(BSTR, LONG, IHTMLStyleSheet**) override { return E_NOTIMPL; }
};

// A site as an OLE container hands it out: a client site in a document.
class FakeDocumentSite final : public IOleClientSite {
  public:
    explicit FakeDocumentSite(std::optional<std::wstring> address) {
        document.address = std::move(address);
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        return Answer(iid, object, {{&IID_IUnknown, this}, {&IID_IOleClientSite, this}});
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }
    STDMETHODIMP GetContainer(IOleContainer** container) override {
        return document.QueryInterface(IID_PPV_ARGS(container));
    }

    STDMETHODIMP SaveObject() override { return E_NOTIMPL; }
    STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
    STDMETHODIMP ShowObject() override { return E_NOTIMPL; }
    STDMETHODIMP OnShowWindow(BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP RequestNewObjectLayout() override { return E_NOTIMPL; }

    FakeDocument document;
    ULONG references = 0;
};

// A site that offers neither a web browser nor a document.
class FakeBareSite final : public IUnknown {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        return Answer(iid, object, {{&IID_IUnknown, this}});
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }

    ULONG references = 0;
};

}  // namespace rigel
