#include "control/win32_hosting_page.h"

#include <exdisp.h>
#include <mshtml.h>
#include <ocidl.h>
#include <servprov.h>
#include <shlguid.h>
#include <wrl/client.h>

#include <string>

#include "control/unique_bstr.h"

namespace rigel {
namespace {

using Microsoft::WRL::ComPtr;

// A page whose address getter fails or gives no text has no address.
template <typename Getter>
HostingPage PageWithAddress(Getter getter) {
    UniqueBstr text;
    if (FAILED(getter(text.out())) || SysStringLen(text.get()) == 0) return HostingPage{};
    return HostingPage{UniqueBstr::Text(text.get())};
}

std::optional<HostingPage> FromWebBrowser(IUnknown* site) {
    ComPtr<IServiceProvider> provider;
    if (FAILED(site->QueryInterface(IID_PPV_ARGS(&provider)))) return std::nullopt;
    ComPtr<IWebBrowser2> browser;
    if (FAILED(provider->QueryService(SID_SWebBrowserApp, IID_PPV_ARGS(&browser))) || !browser) {
        return std::nullopt;
    }
    return PageWithAddress([&](BSTR* url) { return browser->get_LocationURL(url); });
}

std::optional<HostingPage> FromContainerDocument(IUnknown* site) {
    ComPtr<IOleClientSite> clientSite;
    if (FAILED(site->QueryInterface(IID_PPV_ARGS(&clientSite)))) return std::nullopt;
    ComPtr<IOleContainer> container;
    if (FAILED(clientSite->GetContainer(&container)) || !container) return std::nullopt;
    ComPtr<IHTMLDocument2> document;
    if (FAILED(container.As(&document))) return std::nullopt;
    return PageWithAddress([&](BSTR* url) { return document->get_URL(url); });
}

}  // namespace

std::optional<HostingPage> Win32HostingPage::Find(IUnknown* site) {
    if (site == nullptr) return std::nullopt;
    std::optional<HostingPage> page = FromWebBrowser(site);
    if (!page) page = FromContainerDocument(site);
    return page;
}

}  // namespace rigel
