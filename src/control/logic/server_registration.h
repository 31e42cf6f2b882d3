#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "control/logic/registration_scope.h"
#include "control/logic/registration_script.h"
#include "control/logic/registry_writer.h"
#include "control/logic/type_lib_registrar.h"

namespace rigel {

// Registration of the server: the application identifier, the class SysInfo with its ProgIDs and
// the type library, in that order, and their removal in the opposite order. Results are HRESULTs.
class ServerRegistration {
  public:
    static constexpr std::int32_t kOk = 0;

    ServerRegistration(RegistryWriter& registry, TypeLibRegistrar& typeLib,
                       std::wstring modulePath);

    // Stops at the first failing step.
    std::int32_t Register(RegistrationScope scope);
    // Runs every step, so that a half registration is cleaned up too, and returns the result of
    // the last one, the application identifier's removal.
    std::int32_t Unregister(RegistrationScope scope);
    // DllInstall: installing undoes a failed registration and returns the registration's result.
    std::int32_t Install(bool install, RegistrationScope scope);

    // The key of the application identifier.
    static const RegistrationScript& AppIDScript();
    // The keys of the class and its ProgIDs.
    static const RegistrationScript& ClassScript();
    // The keys of the type library and its interface, including the language-neutral entry that
    // the type-library marshaler looks up.
    static const RegistrationScript& TypeLibScript();
    // The three scripts in the order registration applies them; an installer writes their keys.
    static std::vector<const RegistrationScript*> Scripts();
    // The scripts' placeholders for a module at modulePath inside moduleFolder (which ends in a
    // backslash, as installers write folders).
    static RegistrationScript::Replacements Replacements(const std::wstring& modulePath,
                                                         const std::wstring& moduleFolder);
    // The misc status of the class as registered.
    static std::uint32_t MiscStatus();

    // HRESULT_FROM_WIN32.
    static std::int32_t HResultFromWin32(std::int32_t error);

  private:
    RegistrationScript::Replacements Replacements() const;

    RegistryWriter& registry_;
    TypeLibRegistrar& typeLib_;
    std::wstring modulePath_;
};

}  // namespace rigel
