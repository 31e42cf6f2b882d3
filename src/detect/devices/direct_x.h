#pragma once

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

  protected:
    void Run() override;

  private:
    struct Version {
        std::uint32_t major = 0;
        std::uint32_t minor = 0;
        wchar_t letter = L' ';  // a space: no letter
    };

    static std::wstring GetDirectXVersion(std::size_t capacity);
    static bool GetDirectXVersionFromDxDiag(Version& version);
    static bool GetDirectXVersionFromFiles(Version& version);
};

}  // namespace rigel
