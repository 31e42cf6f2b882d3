#pragma once

#include <cstdint>

#include "control/logic/registration_scope.h"

namespace rigel {

// Registers the module's type library; behind an interface so that the order of the
// registration steps can be checked without OLE Automation. Results are HRESULTs.
class TypeLibRegistrar {
  public:
    virtual ~TypeLibRegistrar() = default;
    virtual std::int32_t Register(RegistrationScope scope) = 0;
    virtual std::int32_t Unregister(RegistrationScope scope) = 0;
};

}  // namespace rigel
