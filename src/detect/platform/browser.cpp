#include "detect/platform/browser.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "core/group_id.h"
#include "core/system.h"
#include "detect/platform/registry.h"
#include "diag/scope_trace.h"
#include "values/ascii_case.h"
#include "values/exists.h"
#include "values/name.h"
#include "values/version.h"

namespace rigel {
namespace {

constexpr std::uint32_t kVersionBufferBytes = 40;

constexpr std::uint32_t kInstalledName = 71353;
constexpr std::uint32_t kInstalledVersion = 71352;
constexpr std::uint32_t kUserAgent = 71446;
constexpr std::uint32_t kInUseName = 71447;
constexpr std::uint32_t kInUseVersion = 71460;

// Stored as "No" before anything is looked at. 71409 is the Flash flag, which the applications
// detector stores again when it runs.
constexpr std::uint32_t kFlagsClearedFirst[] = {71407, 71408, 71409, 71448, 71449, 71450, 71451};

enum BrowserKind { kInternetExplorer, kFirefox, kSafari };
constexpr std::size_t kBrowserKinds = 3;

struct Installable {
    BrowserKind kind;
    const wchar_t* name;
    const wchar_t* key;
    const wchar_t* valueName;
    std::uint32_t flag;
    std::uint32_t version;
};

// In the order they take places in the list of installed browsers.
constexpr Installable kInstallable[] = {
    {kInternetExplorer, L"Internet Explorer", L"SOFTWARE\\Microsoft\\Internet Explorer", L"Version",
     71408, 71180},
    {kFirefox, L"Firefox", L"SOFTWARE\\Mozilla\\Mozilla Firefox", L"CurrentVersion", 71407, 71195},
    {kSafari, L"Safari", L"SOFTWARE\\Apple Computer, Inc.\\Safari", L"Version", 71456, 71457},
};

struct InUse {
    const wchar_t* token;  // lower case
    const wchar_t* name;
    std::uint32_t flag;
    // Where the version comes from; none for the browsers not looked up in the registry.
    std::optional<BrowserKind> installed;
};

// The first token found decides: Chrome's text also names Safari.
constexpr InUse kInUse[] = {
    {L"msie", L"Internet Explorer", 71448, kInternetExplorer},
    {L"opera", L"Opera", 71455, std::nullopt},
    {L"chrome", L"Chrome", 71449, std::nullopt},
    {L"safari", L"Safari", 71450, kSafari},
    {L"firefox", L"Firefox", 71451, kFirefox},
};

bool ReadVersion(const Installable& browser, std::wstring& version) {
    Registry& registry = Registry::Instance();
    const os::UniqueKey key =
        registry.OpenKey(os::Registry::kLocalMachine, browser.key, os::Registry::kKeyRead);
    return key && registry.ReadText(key.get(), browser.valueName, kVersionBufferBytes, version) ==
                      Registry::StringRead::kText;
}

}  // namespace

Browser::Browser() : Detector(L"rigel::Browser::Detect", L"Error in Browser detection.") {}

void Browser::Initialize() { ScopeTrace trace(L"rigel::Browser::Initialize"); }

void Browser::Run() {
    for (std::uint32_t flag : kFlagsClearedFirst) {
        Exists no(false);
        AddValue(GroupID(flag), no);
    }

    std::array<std::wstring, kBrowserKinds> versions;
    std::uint32_t place = 0;
    for (const Installable& browser : kInstallable) {
        std::wstring& text = versions[browser.kind];
        if (!ReadVersion(browser, text)) continue;
        Exists yes(true);
        Version version(text);
        Name name(browser.name);
        AddValue(GroupID(browser.flag), yes);
        AddValue(GroupID(browser.version), version);
        AddValue(GroupID(kInstalledName), name, place);
        AddValue(GroupID(kInstalledVersion), version, place);
        ++place;
    }

    SystemValue userAgent(SystemValueID(GroupID(kUserAgent), 0), std::wstring());
    if (!System::Instance().GetSystemValues().TryGetValue(userAgent.id, userAgent)) return;
    const std::wstring lowered = AsciiLowerCase(userAgent.text);
    for (const InUse& browser : kInUse) {
        if (lowered.find(browser.token) == std::wstring::npos) continue;
        Name name(browser.name);
        Exists yes(true);
        Version version(browser.installed ? versions[*browser.installed] : std::wstring());
        AddValue(GroupID(kInUseName), name);
        AddValue(GroupID(browser.flag), yes);
        AddValue(GroupID(kInUseVersion), version);
        return;
    }
}

}  // namespace rigel
