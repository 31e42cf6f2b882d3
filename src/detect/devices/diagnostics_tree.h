#pragma once

#include <cstdint>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "os/diagnostics.h"

namespace rigel {

// What the graphics and DirectX readers take from the DirectX diagnostics provider, copied out of
// its container tree. A container or property that could not be read is missing.
struct DiagnosticsSnapshot {
    using Properties = std::map<std::wstring, os::DiagnosticsValue>;

    struct Device {
        std::wstring name;  // the container's name under the display devices
        bool opened = false;
        std::vector<std::wstring> propertyNames;  // as the provider enumerates them
        Properties properties;
    };

    std::vector<Device> displayDevices;
    Properties systemInfo;
};

// The DirectX diagnostics provider's tree, read once per process. Initialising the provider
// gathers everything it knows, a noticeable part of a second, so the read runs on a thread of its
// own (in an apartment of its own, where the provider is made, read and released) from the moment
// the instance is first asked for, and the readers wait for it only when they need it. The
// provider queries WMI while it initialises, so it does so holding the process's WMI mutex.
class DiagnosticsTree {
  public:
    // At most this many display devices and property names per device are taken.
    static constexpr std::uint32_t kMaxDevices = 64;
    static constexpr std::uint32_t kMaxPropertyNames = 1024;

    // Starts the read on first use.
    static DiagnosticsTree& Instance();
    // Waits for the read when one was started.
    static void Wait();
    // Waits for the read and drops the instance (the product never calls it).
    static void DestroyInstanceForTesting();

    // Makes and initialises a provider (no WHQL checks) and copies the tree out of it, on the
    // calling thread; null when the provider could not be made or initialised.
    static std::unique_ptr<DiagnosticsSnapshot> Read(os::Diagnostics& diagnostics);

    // Waits for the read; null when it failed.
    const DiagnosticsSnapshot* Get();

  private:
    DiagnosticsTree();
    static bool Initialize(os::Diagnostics& diagnostics, os::ComObject provider);

    std::future<std::unique_ptr<DiagnosticsSnapshot>> reading_;
    std::unique_ptr<DiagnosticsSnapshot> snapshot_;
};

}  // namespace rigel
