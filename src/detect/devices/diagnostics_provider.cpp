#include "detect/devices/diagnostics_provider.h"

namespace rigel {
namespace {

constexpr os::DiagnosticsParameters kParameters{24, 111, false};  // DXDIAG_DX9_SDK_VERSION

}  // namespace

os::UniqueComObject<os::Diagnostics> CreateDiagnosticsProvider(os::Diagnostics& diagnostics) {
    os::UniqueComObject<os::Diagnostics> provider(0, os::ComReleaser<os::Diagnostics>(diagnostics));
    os::ComObject created = 0;
    if (diagnostics.CreateProvider(created) < 0) return provider;
    provider = os::UniqueComObject<os::Diagnostics>(created,
                                                    os::ComReleaser<os::Diagnostics>(diagnostics));
    if (diagnostics.Initialize(provider.get(), kParameters) < 0) provider.reset();
    return provider;
}

}  // namespace rigel
