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

const RegistrationScript& ServerRegistration::TypeLibScript() {
    // The type-library marshaler's proxy and stub (PSOAInterface).
    static constexpr wchar_t kMarshaler[] = L"{00020424-0000-0000-C000-000000000046}";
    static const RegistrationScript script({
        {L"TypeLib", Removal::kNoRemove, nullptr, nullptr, nullptr},
        {L"TypeLib\\%LIBID%", Removal::kNone, nullptr, nullptr, nullptr},
        {L"TypeLib\\%LIBID%\\1.0", Removal::kNone, L"DetectionLib 1.0 Type Library", nullptr,
         nullptr},
        {L"TypeLib\\%LIBID%\\1.0\\FLAGS", Removal::kNone, L"0", nullptr, nullptr},
        {L"TypeLib\\%LIBID%\\1.0\\HELPDIR", Removal::kNone, L"%MODULEDIR%", nullptr, nullptr},
        // Language neutral: where the marshaler of a cross-apartment call looks the library up.
        {L"TypeLib\\%LIBID%\\1.0\\0", Removal::kNone, nullptr, nullptr, nullptr},
        {L"TypeLib\\%LIBID%\\1.0\\0\\win64", Removal::kNone, L"%MODULE%", nullptr, nullptr},
        // The library's own locale (lcid in detection.idl).
        {L"TypeLib\\%LIBID%\\1.0\\409", Removal::kNone, nullptr, nullptr, nullptr},
        {L"TypeLib\\%LIBID%\\1.0\\409\\win64", Removal::kNone, L"%MODULE%", nullptr, nullptr},
        {L"Interface", Removal::kNoRemove, nullptr, nullptr, nullptr},
        {L"Interface\\%IID%", Removal::kNone, L"ISysInfo", nullptr, nullptr},
        {L"Interface\\%IID%\\ProxyStubClsid", Removal::kNone, kMarshaler, nullptr, nullptr},
        {L"Interface\\%IID%\\ProxyStubClsid32", Removal::kNone, kMarshaler, nullptr, nullptr},
        {L"Interface\\%IID%\\TypeLib", Removal::kNone, L"%LIBID%", L"Version", L"1.0"},
    });
    return script;
}

std::vector<const RegistrationScript*> ServerRegistration::Scripts() {
    return {&AppIDScript(), &ClassScript(), &TypeLibScript()};
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

RegistrationScript::Replacements ServerRegistration::Replacements(
    const std::wstring& modulePath, const std::wstring& moduleFolder) {
    return {{L"MODULE", modulePath},
            {L"MODULEDIR", moduleFolder},
            {L"APPID", kDetectionAppID},
            {L"CLSID", kSysInfoClassID},
            {L"LIBID", kDetectionLibID},
            {L"IID", kSysInfoInterfaceID},
            {L"PROGID", kSysInfoProgID},
            {L"VIPROGID", kSysInfoVersionIndependentProgID},
            {L"OLEMISC", std::to_wstring(MiscStatus())}};
}

RegistrationScript::Replacements ServerRegistration::Replacements() const {
    const std::size_t separator = modulePath_.rfind(L'\\');
    const std::wstring folder =
        separator == std::wstring::npos ? std::wstring() : modulePath_.substr(0, separator + 1);
    return Replacements(modulePath_, folder);
}

std::int32_t ServerRegistration::Register(RegistrationScope scope) {
    const RegistrationScript::Replacements replacements = Replacements();
    std::int32_t result = HResultFromWin32(AppIDScript().Register(registry_, scope, replacements));
    if (Failed(result)) return result;
    result = HResultFromWin32(ClassScript().Register(registry_, scope, replacements));
    if (Failed(result)) return result;
    result = typeLib_.Register(scope);
    if (Failed(result)) return result;
    // The platform registers the library under its own locale only and words FLAGS and HELPDIR
    // its own way. The script then adds the language-neutral entry and writes every key as the
    // installer does, so that self-registration and an installed control leave the same keys.
    return HResultFromWin32(TypeLibScript().Register(registry_, scope, replacements));
}

std::int32_t ServerRegistration::Unregister(RegistrationScope scope) {
    const RegistrationScript::Replacements replacements = Replacements();
    // Every step runs whatever the earlier ones gave; only the last step's result counts.
    ClassScript().Unregister(registry_, scope, replacements);
    typeLib_.Unregister(scope);
    // What the platform leaves behind: the language-neutral entry, and the keys kept for it.
    TypeLibScript().Unregister(registry_, scope, replacements);
    return HResultFromWin32(AppIDScript().Unregister(registry_, scope, replacements));
}

std::int32_t ServerRegistration::Install(bool install, RegistrationScope scope) {
    if (!install) return Unregister(scope);
    const std::int32_t result = Register(scope);
    if (Failed(result)) Unregister(scope);
    return result;
}

}  // namespace rigel
