#pragma once

#include <cstdint>
#include <string>

#include "core/detector.h"

namespace rigel {

// A fixed set of applications and runtimes, each with a presence flag and a version: Flash
// Player and Java from the registry, four programs from the version resources of their App Paths
// entries, OpenGL from its system library, and one Windows Installer product.
class Applications : public Detector {
  public:
    Applications();
    void Initialize() override;

  protected:
    void Run() override;

  private:
    struct AppPathProgram {
        const wchar_t* executable;
        std::uint32_t flag;
        std::uint32_t version;
    };

    void ClearFlags();
    void StoreFlash();
    void StoreAppPathProgram(const AppPathProgram& program);
    void StoreOpenGl();
    void StoreInstallerProduct();
    void StoreJava();
    // Stores the flag as "Yes" and the version.
    void StoreFound(std::uint32_t flag, std::uint32_t versionId, const std::wstring& text);

    // The program's path from its App Paths entry, environment variables expanded.
    static bool FindAppPath(const std::wstring& executable, std::wstring& path);
    static bool GetInstalledProductVersion(const std::wstring& upgradeCode, std::wstring& version);
};

}  // namespace rigel
