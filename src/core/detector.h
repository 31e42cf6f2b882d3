#pragma once

#include "core/component.h"

namespace rigel {

// A component with the common failure rule: its steps run inside a handler that catches every
// exception and logs the detector's failure message at ERR, so one broken source never stops the
// detection pass. Values stored before the failure stay.
class Detector : public Component {
  public:
    bool Detect() final;

  protected:
    // traceName may be null for a detector that is not traced.
    Detector(const wchar_t* traceName, const wchar_t* failureMessage);

    // The detector's steps.
    virtual void Run() = 0;

  private:
    const wchar_t* traceName_;
    const wchar_t* failureMessage_;
};

}  // namespace rigel
