#pragma once

#include "os/diagnostics.h"

namespace rigel {

// The DirectX diagnostics provider, made and initialised for reading (no WHQL checks); empty
// when either step fails. The DirectX version component shares it with the adapter source.
os::UniqueComObject<os::Diagnostics> CreateDiagnosticsProvider(os::Diagnostics& diagnostics);

}  // namespace rigel
