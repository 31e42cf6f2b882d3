#pragma once

#include "values/name.h"

namespace rigel {

// The BIOS as the registry or WMI describes it.
struct BiosInfo {
    Name name;
    Name version;
    Name date;
    Name manufacturer;
};

}  // namespace rigel
