#pragma once

#include "core/component.h"

namespace rigel {

// Sound devices from the Setup API, completed from WMI, and the versions of four audio driver
// packages. Unlike the other detectors it has no failure handler of its own.
class Sound : public Component {
  public:
    bool Detect() override;
};

}  // namespace rigel
