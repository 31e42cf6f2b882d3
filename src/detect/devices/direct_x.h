#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/detector.h"
#include "detect/devices/file_version_reader.h"

namespace rigel {

// The installed DirectX version as one text ("9.0c", "8.1b", "11.0"): from the diagnostics
// provider, else from the versions of DirectX system files; a usable Direct3D 11 means 11.0.
class DirectX : public Detector {
  public:
    DirectX();
    explicit DirectX(FileVersionReader& files);

    // Major, minor and a letter (a blank for none).
    struct VersionParts {
        std::uint32_t major = 0;
        std::uint32_t minor = 0;
        wchar_t letter = L' ';
    };

    // The version text, cut to capacity characters with the terminator.
    std::wstring GetDirectXVersion(std::size_t capacity);
    bool GetDirectXVersionFromDxDiag(VersionParts& parts);
    // Always succeeds; 0.0 when no file tells.
    bool GetDirectXVersionFromFiles(VersionParts& parts);

  protected:
    void Run() override;

  private:
    FileVersionReader* files_;
};

}  // namespace rigel
