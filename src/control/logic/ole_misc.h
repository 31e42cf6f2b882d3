#pragma once

#include <cstdint>

namespace rigel {

// The OLEMISC status bits that the control registers, with their published values.
enum OleMisc : std::uint32_t {
    kOleMiscRecomposeOnResize = 0x1,
    kOleMiscCantLinkInside = 0x10,
    kOleMiscInsideOut = 0x80,
    kOleMiscInvisibleAtRuntime = 0x400,
    kOleMiscSetClientSiteFirst = 0x20000,
};

}  // namespace rigel
