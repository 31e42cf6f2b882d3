#pragma once

#include "os/diagnostics.h"

namespace rigel {

// The DirectX diagnostics provider, made and initialised for reading (no WHQL checks).
// Initialising it gathers the whole diagnostics tree, a noticeable part of a second, so the
// process makes it once, on first use, in the calling thread's apartment, and the adapter source
// and the DirectX version component share it.
class DiagnosticsProvider {
  public:
    static DiagnosticsProvider& Instance();
    // Drops the instance with its provider (the product never calls it).
    static void DestroyInstanceForTesting();

    // A provider of the caller's own; empty when either step fails.
    static os::UniqueComObject<os::Diagnostics> Create(os::Diagnostics& diagnostics);

    // The shared provider; 0 when it could not be made or initialised.
    os::ComObject Get() const { return provider_.get(); }

  private:
    DiagnosticsProvider();

    os::UniqueComObject<os::Diagnostics> provider_;
};

}  // namespace rigel
