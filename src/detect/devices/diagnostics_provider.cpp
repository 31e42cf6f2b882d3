#include "detect/devices/diagnostics_provider.h"

#include "os/services.h"

namespace rigel {
namespace {

constexpr os::DiagnosticsParameters kParameters{24, 111, false};  // DXDIAG_DX9_SDK_VERSION

DiagnosticsProvider* instance = nullptr;

}  // namespace

DiagnosticsProvider& DiagnosticsProvider::Instance() {
    if (instance == nullptr) instance = new DiagnosticsProvider();
    return *instance;
}

void DiagnosticsProvider::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

DiagnosticsProvider::DiagnosticsProvider() : provider_(Create(*os::Current().diagnostics)) {}

os::UniqueComObject<os::Diagnostics> DiagnosticsProvider::Create(os::Diagnostics& diagnostics) {
    os::UniqueComObject<os::Diagnostics> provider(0, os::ComReleaser<os::Diagnostics>(diagnostics));
    os::ComObject created = 0;
    if (diagnostics.CreateProvider(created) < 0) return provider;
    provider = os::UniqueComObject<os::Diagnostics>(created,
                                                    os::ComReleaser<os::Diagnostics>(diagnostics));
    if (diagnostics.Initialize(provider.get(), kParameters) < 0) provider.reset();
    return provider;
}

}  // namespace rigel
