#include "core/components.h"

#include <utility>

#include "diag/scope_trace.h"

namespace rigel {
namespace {

// Shared by every registry object: the components run once per process and live until it ends.
struct ProcessComponents {
    bool initDone = false;
    bool detectDone = false;
    std::vector<std::unique_ptr<Component>> created;
};

ProcessComponents& Process() {
    static ProcessComponents process;
    return process;
}

}  // namespace

Components::Components() : Components(StandardComponentFactories()) {}

Components::Components(std::vector<ComponentFactory> factories)
    : factories_(std::move(factories)) {}

Components::~Components() = default;

void Components::ResetProcessStateForTesting() { Process() = ProcessComponents(); }

void Components::Init() {
    ProcessComponents& process = Process();
    if (process.initDone) return;
    process.initDone = true;
    ScopeTrace trace(L"rigel::Components::Init");
    list_.clear();
    for (const auto factory : factories_) {
        process.created.push_back(factory());
        list_.push_back(process.created.back().get());
    }
}

void Components::Detect() {
    ProcessComponents& process = Process();
    if (process.detectDone) return;
    process.detectDone = true;
    Init();
    for (Component* component : list_) component->Detect();
}

}  // namespace rigel
