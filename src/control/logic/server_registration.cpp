#include "control/logic/server_registration.h"

#include <utility>

#include "control/logic/detection_identifiers.h"
#include "control/logic/ole_misc.h"

namespace rigel {
namespace {

using Removal = RegistryKey::Removal;

bool Failed(std::int32_t result) { return result < 0; }

}  // namespace

ServerRegistration::ServerRegistration(RegistryWriter& registry, TypeLibRegistrar& typeLib,
                                       std::wstring modulePath)
    : registry_(registry), typeLib_(typeLib), modulePath_(std::move(modulePath)) {}

const RegistrationScript& ServerRegistration::AppIDScript() {
    static const RegistrationScript script({
        {L"AppID", Removal::kNoRemove, nullptr, nullptr, nullptr},
        {L"AppID\\%APPID%", Removal::kNone, L"Detection", nullptr, nullptr},
    });
    return script;
}

const RegistrationScript& ServerRegistration::ClassScript() {
    static const RegistrationScript script({
        {L"%PROGID%", Removal::kNone, L"SysInfo Class", nullptr, nullptr},
        {L"%PROGID%\\CLSID", Removal::kNone, L"%CLSID%", nullptr, nullptr},
        {L"%VIPROGID%", Removal::kNone, L"SysInfo Class", nullptr, nullptr},
        {L"%VIPROGID%\\CLSID", Removal::kNone, L"%CLSID%", nullptr, nullptr},
        {L"%VIPROGID%\\CurVer", Removal::kNone, L"%PROGID%", nullptr, nullptr},
        {L"CLSID", Removal::kNoRemove, nullptr, nullptr, nullptr},
        {L"CLSID\\%CLSID%", Removal::kForceRemove, L"SysInfo Class", L"AppID", L"%APPID%"},
        {L"CLSID\\%CLSID%\\ProgID", Removal::kNone, L"%PROGID%", nullptr, nullptr},
        {L"CLSID\\%CLSID%\\VersionIndependentProgID", Removal::kNone, L"%VIPROGID%", nullptr,
         nullptr},
        {L"CLSID\\%CLSID%\\Programmable", Removal::kForceRemove, nullptr, nullptr, nullptr},
        {L"CLSID\\%CLSID%\\InprocServer32", Removal::kNone, L"%MODULE%", L"ThreadingModel",
         L"Apartment"},
        {L"CLSID\\%CLSID%\\Control", Removal::kForceRemove, nullptr, nullptr, nullptr},
        {L"CLSID\\%CLSID%\\ToolboxBitmap32", Removal::kForceRemove, L"%MODULE%, 102", nullptr,
         nullptr},
        {L"CLSID\\%CLSID%\\MiscStatus", Removal::kNone, L"0", nullptr, nullptr},
        {L"CLSID\\%CLSID%\\MiscStatus\\1", Removal::kNone, L"%OLEMISC%", nullptr, nullptr},
        {L"CLSID\\%CLSID%\\TypeLib", Removal::kNone, L"%LIBID%", nullptr, nullptr},
        {L"CLSID\\%CLSID%\\Version", Removal::kNone, L"1.0", nullptr, nullptr},
    });
    return script;
}

std::uint32_t ServerRegistration::MiscStatus() {
    // The control has no user interface: containers hide it at run time and never give it a
    // window. It wants its client site before the page's parameter tags are loaded; the other
    // bits are those of any in-place control.
    return kOleMiscInvisibleAtRuntime | kOleMiscSetClientSiteFirst | kOleMiscInsideOut |
           kOleMiscCantLinkInside | kOleMiscRecomposeOnResize;
}

std::int32_t ServerRegistration::HResultFromWin32(std::int32_t error) {
    if (error <= 0) return error;
    return static_cast<std::int32_t>(0x80070000u | (static_cast<std::uint32_t>(error) & 0xFFFFu));
}

RegistrationScript::Replacements ServerRegistration::Replacements() const {
    return {{L"MODULE", modulePath_},
            {L"APPID", kDetectionAppID},
            {L"CLSID", kSysInfoClassID},
            {L"LIBID", kDetectionLibID},
            {L"PROGID", kSysInfoProgID},
            {L"VIPROGID", kSysInfoVersionIndependentProgID},
            {L"OLEMISC", std::to_wstring(MiscStatus())}};
}

std::int32_t ServerRegistration::Register(RegistrationScope scope) {
    const RegistrationScript::Replacements replacements = Replacements();
    std::int32_t result = HResultFromWin32(AppIDScript().Register(registry_, scope, replacements));
    if (Failed(result)) return result;
    result = HResultFromWin32(ClassScript().Register(registry_, scope, replacements));
    if (Failed(result)) return result;
    return typeLib_.Register(scope);
}

std::int32_t ServerRegistration::Unregister(RegistrationScope scope) {
    const RegistrationScript::Replacements replacements = Replacements();
    const std::int32_t results[] = {
        HResultFromWin32(ClassScript().Unregister(registry_, scope, replacements)),
        typeLib_.Unregister(scope),
        HResultFromWin32(AppIDScript().Unregister(registry_, scope, replacements)),
    };
    for (const std::int32_t result : results) {
        if (Failed(result)) return result;
    }
    return kOk;
}

std::int32_t ServerRegistration::Install(bool install, RegistrationScope scope) {
    if (!install) return Unregister(scope);
    const std::int32_t result = Register(scope);
    if (Failed(result)) Unregister(scope);
    return result;
}

}  // namespace rigel
