#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/detector.h"

namespace rigel {

// The installed DirectX version as one text ("9.0c", "8.1b", "11.0"): the diagnostics
// provider's answer, else what the DirectX system files' versions show; 11.0 whenever
// Direct3D 11 is present.
class DirectX : public Detector {
  public:
    DirectX();

    struct Version {
        std::uint32_t major = 0;
        std::uint32_t minor = 0;
        wchar_t letter = L' ';  // a space: no letter
    };

    // The version text, cut to capacity characters with the terminator.
    static std::wstring GetDirectXVersion(std::size_t capacity);
    static bool GetDirectXVersionFromDxDiag(Version& version);
    // Always succeeds; 0.0 when no file tells.
    static bool GetDirectXVersionFromFiles(Version& version);

  protected:
    void Run() override;
};

}  // namespace rigel
