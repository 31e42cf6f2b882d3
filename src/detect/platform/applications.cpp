#include "detect/platform/applications.h"

#include <algorithm>

#include "core/group_id.h"
#include "detect/platform/file_version.h"
#include "detect/platform/installed_products.h"
#include "detect/platform/registry.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/services.h"
#include "os/system_info.h"
#include "values/exists.h"
#include "values/version.h"

namespace rigel {
namespace {

constexpr std::uint32_t kShortTextBytes = 40;
constexpr std::uint32_t kPathBytes = 2000;
constexpr std::uint32_t kPathCapacity = 2000;

constexpr std::uint32_t kFlash = 71409;
constexpr std::uint32_t kOpenGl = 71419;
constexpr std::uint32_t kInstallerProduct = 71426;
// Stored as "No" before anything is looked at, in this order.
constexpr std::uint32_t kFlags[] = {kFlash, 71411, 71413, 71415, 71417, kOpenGl, kInstallerProduct};

const wchar_t* const kAppPaths = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\";
const wchar_t* const kJavaKey = L"SOFTWARE\\JavaSoft\\Java Runtime Environment";

bool ReadText(const os::UniqueKey& key, const wchar_t* name, std::uint32_t bytes,
              std::wstring& text) {
    return key && Registry::Instance().ReadText(key.get(), name, bytes, text) ==
                      Registry::StringRead::kText;
}

// False when the expansion fails or does not fit the buffer.
bool Expand(const std::wstring& source, std::wstring& expanded) {
    const std::uint32_t result =
        os::Current().systemInfo->ExpandEnvironment(source, kPathCapacity, expanded);
    return result != 0 && result <= kPathCapacity;
}

}  // namespace

Applications::Applications()
    : Detector(L"rigel::Applications::Detect", L"Error with Applications detection.") {
    Initialize();
}

void Applications::Initialize() { ScopeTrace trace(L"rigel::Applications::Initialize"); }

void Applications::Run() {
    ClearFlags();
    StoreFlash();
    constexpr AppPathProgram kPrograms[] = {
        {L"wmplayer.exe", 71411, 71185},
        {L"AcroRd32.exe", 71413, 71414},
        {L"QuickTimePlayer.exe", 71415, 71416},
        {L"Winword.exe", 71417, 71418},
    };
    for (const AppPathProgram& program : kPrograms) StoreAppPathProgram(program);
    StoreOpenGl();
    StoreInstallerProduct();
    StoreJava();
}

void Applications::ClearFlags() {
    for (std::uint32_t flag : kFlags) {
        Exists no(false);
        AddValue(GroupID(flag), no);
    }
}

void Applications::StoreFound(std::uint32_t flag, std::uint32_t versionId,
                              const std::wstring& text) {
    Exists yes(true);
    Version version(text);
    AddValue(GroupID(flag), yes);
    AddValue(GroupID(versionId), version);
}

void Applications::StoreFlash() {
    const os::UniqueKey key = Registry::Instance().OpenKey(
        os::Registry::kLocalMachine, L"SOFTWARE\\Macromedia\\FlashPlayer", os::Registry::kKeyRead);
    std::wstring text;
    if (ReadText(key, L"CurrentVersion", kShortTextBytes, text)) StoreFound(kFlash, 71410, text);
}

void Applications::StoreAppPathProgram(const AppPathProgram& program) {
    std::wstring path;
    std::wstring text;
    if (FindAppPath(program.executable, path) && FileVersion::Get(path, text)) {
        StoreFound(program.flag, program.version, text);
    }
}

void Applications::StoreOpenGl() {
    std::wstring path;
    std::wstring text;
    if (Expand(L"%WINDIR%\\System32\\OpenGL32.dll", path) && FileVersion::Get(path, text)) {
        StoreFound(kOpenGl, 71420, text);
    }
}

void Applications::StoreInstallerProduct() {
    std::wstring text;
    if (GetInstalledProductVersion(L"{3F0FC462-CDC1-4CD9-8E84-84D89B914EAA}", text)) {
        StoreFound(kInstallerProduct, 71427, text);
    }
}

void Applications::StoreJava() {
    const os::UniqueKey key = Registry::Instance().OpenFirstKey({
        {kJavaKey, os::Registry::kKeyRead},
        {kJavaKey, os::Registry::kKeyRead | os::Registry::kWow64_64Key},
    });
    std::wstring text;
    if (!ReadText(key, L"BrowserJavaVersion", kShortTextBytes, text)) return;
    // The plug-in writes its update number after an underscore (1.7.0_45).
    std::replace(text.begin(), text.end(), L'_', L'.');
    Version version(text);
    AddValue(GroupID(71454), version);
}

bool Applications::FindAppPath(const std::wstring& executable, std::wstring& path) {
    const os::UniqueKey key = Registry::Instance().OpenKey(
        os::Registry::kLocalMachine, kAppPaths + executable, os::Registry::kKeyRead);
    std::wstring text;
    return ReadText(key, L"", kPathBytes, text) && Expand(text, path);
}

bool Applications::GetInstalledProductVersion(const std::wstring& upgradeCode,
                                              std::wstring& version) {
    if (!InstalledProducts::RelatedProductVersion(upgradeCode, version)) return false;
    Log::Instance().Line(Log::kTrace, L"Got it");
    return true;
}

}  // namespace rigel
