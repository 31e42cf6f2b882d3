#pragma once

#include "core/detector.h"

namespace rigel {

// The browsers installed (from the registry, each with its version and its place in the list of
// installed browsers) and the browser in use, identified from the page's user-agent text.
class Browser : public Detector {
  public:
    Browser();
    void Initialize() override;

  protected:
    void Run() override;
};

}  // namespace rigel
