#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "os/diagnostics.h"

namespace rigel::os {

// The diagnostics provider in memory: a tree of containers, each with named children and
// properties in the order they were added. Names fit a buffer of one more character than their
// length, as in the provider. Creation, initialisation and COM initialisation answer chosen
// statuses; objects handed out are counted until released.
class FakeDiagnostics : public Diagnostics {
  public:
    struct Container {
        std::vector<std::pair<std::wstring, DiagnosticsValue>> properties;
        std::vector<std::pair<std::wstring, Container>> children;

        // The child of that name, made when missing.
        Container& Child(const std::wstring& name);
        void Set(const std::wstring& name, DiagnosticsValue value);
    };

    // Values as the provider delivers them.
    static DiagnosticsValue Text(const std::wstring& text);
    static DiagnosticsValue Unsigned(std::uint32_t number);

    std::int32_t comStatus = kOk;
    std::int32_t createStatus = kOk;
    std::int32_t initializeStatus = kOk;
    Container root;
    // Called by each provider initialisation before it answers, on the initialising thread.
    std::function<void()> whileInitializing;

    // What was asked.
    DiagnosticsParameters parameters;
    int providerInitializations = 0;
    std::thread::id initializingThread;  // the thread that last initialised a provider
    int comInitializations = 0;
    int comUninitializations = 0;

    std::size_t LiveObjectCount() const { return objects_.size(); }

    std::int32_t InitializeCom() override;
    void UninitializeCom() override;
    std::int32_t CreateProvider(ComObject& provider) override;
    std::int32_t Initialize(ComObject provider, const DiagnosticsParameters& chosen) override;
    std::int32_t GetRootContainer(ComObject provider, ComObject& container) override;
    std::int32_t GetChildContainer(ComObject container, const std::wstring& name,
                                   ComObject& child) override;
    std::int32_t GetNumberOfChildContainers(ComObject container, std::uint32_t& count) override;
    std::int32_t EnumChildContainerNames(ComObject container, std::uint32_t index,
                                         std::uint32_t capacity, std::wstring& name) override;
    std::int32_t GetNumberOfProps(ComObject container, std::uint32_t& count) override;
    std::int32_t EnumPropNames(ComObject container, std::uint32_t index, std::uint32_t capacity,
                               std::wstring& name) override;
    std::int32_t GetProperty(ComObject container, const std::wstring& name,
                             DiagnosticsValue& value) override;
    void Release(ComObject object) override;

  private:
    const Container* Find(ComObject container) const;
    ComObject Hand(const Container* container);

    std::map<ComObject, const Container*> objects_;  // null for the provider
    bool initialized_ = false;
    ComObject next_ = 0x300;
};

}  // namespace rigel::os
