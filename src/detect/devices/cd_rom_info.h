#pragma once

#include <string>

#include "values/name.h"

namespace rigel {

// One optical drive.
struct CDRomInfo {
    Name name;
    std::wstring mediaType;
    std::wstring deviceId;
    std::wstring drive;  // the drive letter and colon
};

}  // namespace rigel
