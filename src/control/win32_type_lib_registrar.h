#pragma once

#include <string>

#include "control/logic/type_lib_registrar.h"

namespace rigel {

// Registers the type library embedded in the module, machine-wide or for the current user.
class Win32TypeLibRegistrar : public TypeLibRegistrar {
  public:
    explicit Win32TypeLibRegistrar(std::wstring modulePath);

    std::int32_t Register(RegistrationScope scope) override;
    std::int32_t Unregister(RegistrationScope scope) override;

  private:
    std::wstring modulePath_;
};

}  // namespace rigel
