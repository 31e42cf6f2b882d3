#pragma once

#include <cstdint>
#include <string>

#include "values/speed.h"

namespace rigel {

// The processor as one source sees it; the CPU component merges one record per source. Texts are
// empty and flags false where a source has nothing.
struct CpuInfo {
    std::wstring processorCount;
    bool multiProcessor = false;
    Speed speed;
    std::wstring vendor;
    bool isIntel = false;
    bool isAmd = false;
    std::wstring name;
    bool noCacheDescriptor = false;
    std::wstring stepping;
    std::wstring family;
    std::wstring model;
    std::wstring processorType;
    std::wstring cpuId;
    std::wstring cpuIdShort;
    std::wstring platformId;
    std::wstring platformIdBits;
    std::wstring driverValue;
    std::wstring microcodeUpdate;
    std::wstring chipsetInfVersion;
};

}  // namespace rigel
