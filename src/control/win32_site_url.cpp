#include "control/win32_site_url.h"

#include <exdisp.h>
#include <mshtml.h>
#include <ocidl.h>
#include <servprov.h>
#include <shlguid.h>
#include <wrl/client.h>

#include "control/unique_bstr.h"

namespace rigel {
namespace {

using Microsoft::WRL::ComPtr;

// A getter's text; nothing when it fails or gives no text.
template <typename Getter>
std::optional<std::wstring> TextOf(Getter getter) {
    UniqueBstr text;
    if (FAILED(getter(text.out())) || SysStringLen(text.get()) == 0) return std::nullopt;
    return UniqueBstr::Text(text.get());
}

std::optional<std::wstring> FromWebBrowser(IUnknown* site) {
    ComPtr<IServiceProvider> provider;
    if (FAILED(site->QueryInterface(IID_PPV_ARGS(&provider)))) return std::nullopt;
    ComPtr<IWebBrowser2> browser;
    if (FAILED(provider->QueryService(SID_SWebBrowserApp, IID_PPV_ARGS(&browser))) || !browser) {
        return std::nullopt;
    }
    return TextOf([&](BSTR* url) { return browser->get_LocationURL(url); });
}

std::optional<std::wstring> FromContainerDocument(IUnknown* site) {
    ComPtr<IOleClientSite> clientSite;
    if (FAILED(site->QueryInterface(IID_PPV_ARGS(&clientSite)))) return std::nullopt;
    ComPtr<IOleContainer> container;
    if (FAILED(clientSite->GetContainer(&container)) || !container) return std::nullopt;
    ComPtr<IHTMLDocument2> document;
    if (FAILED(container.As(&document))) return std::nullopt;
    return TextOf([&](BSTR* url) { return document->get_URL(url); });
}

}  // namespace

std::optional<std::wstring> Win32SiteUrl::Read(IUnknown* site) {
    if (site == nullptr) return std::nullopt;
    std::optional<std::wstring> url = FromWebBrowser(site);
    if (!url) url = FromContainerDocument(site);
    return url;
}

}  // namespace rigel
