#pragma once

#include <memory>
#include <vector>

#include <boost/noncopyable.hpp>

#include "core/component.h"

namespace rigel {

using ComponentFactory = std::unique_ptr<Component> (*)();

// The twenty detectors of the product, in their fixed order of creation and detection.
std::vector<ComponentFactory> StandardComponentFactories();

// Creates the detector components once per process and runs each of them once per process.
class Components : private boost::noncopyable {
  public:
    Components();
    // A registry of other components, for tests of the run rules.
    explicit Components(std::vector<ComponentFactory> factories);
    virtual ~Components();

    void Init();
    void Detect();
    const std::vector<Component*>& List() const { return list_; }

    // Forgets the components and the once-flags, for a test that wants a fresh process state.
    static void ResetProcessStateForTesting();

  private:
    std::vector<ComponentFactory> factories_;
    std::vector<Component*> list_;
};

}  // namespace rigel
