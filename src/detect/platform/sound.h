#pragma once

#include "core/component.h"

namespace rigel {

// Sound devices and audio packages. Not detected yet: stores nothing. Unlike the other detectors
// it has no failure handler of its own.
class Sound : public Component {
  public:
    bool Detect() override;
};

}  // namespace rigel
