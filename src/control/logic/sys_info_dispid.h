#pragma once

#include <cstdint>

namespace rigel {

// The dispatch identifiers of ISysInfo's members, as detection.idl declares them.
enum SysInfoDispid : std::int32_t {
    kDispidAnalysis = 1,
    kDispidLogging = 2,
    kDispidReferrerID = 3,
    kDispidSessionID = 4,
    kDispidSystem = 5,
    kDispidUserID = 6,
    kDispidVersion = 7,
    kDispidDetect = 8,
    kDispidValue = 9,
    kDispidSysInfo = 10,
    kDispidDebug = 11,
    kDispidConfigure = 12,
    kDispidComputerID = 13,
};

}  // namespace rigel
