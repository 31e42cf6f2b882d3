#pragma once

#include <string_view>

#include "core/detector.h"

namespace rigel {

// The board's manufacturer, product and version: the registry's version first, WMI filling in
// what the registry left empty; whether the version is a board part number; and, on Intel
// machines, four texts from the driver client.
class MotherBoard : public Detector {
  public:
    MotherBoard();

    // A letter, five digits, "-" and three digits (E12345-301), alone or behind a lower-case
    // "aa"; an upper-case "AA" prefix does not count.
    static bool HasPartNumberShape(std::wstring_view version);

  protected:
    void Run() override;
};

}  // namespace rigel
