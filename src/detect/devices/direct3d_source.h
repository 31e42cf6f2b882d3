#pragma once

#include <cstdint>
#include <vector>

#include "detect/devices/gpu_info.h"
#include "detect/devices/library_source.h"
#include "os/direct3d.h"

namespace rigel {

// The Direct3D 8 and 9 sources: one procedure, run on either version's interfaces.
class Direct3DSource : public LibrarySource {
  public:
    // Appends one record per adapter; never clears the list and never throws.
    void GetGpuInfo(std::vector<GpuInfo>& list);

  protected:
    struct Flavour {
        const wchar_t* traceName;  // "rigel::DirectX_9::GetGpuInfo"
        const char* createFunction;
        std::uint32_t sdkVersion;
        std::uint32_t behaviorFlags;
        bool logsAdapterCount;
        const wchar_t* queryFailure;
    };

    Direct3DSource(os::Direct3D& direct3D, const Library& library, const Messages& messages,
                   const Flavour& flavour);

  private:
    using Object = os::UniqueComObject<os::Direct3D>;

    GpuInfo ReadAdapter(const Object& direct3D, std::uint32_t adapter);
    void ReadIdentifier(const Object& direct3D, std::uint32_t adapter, GpuInfo& info);
    void ReadCaps(const Object& direct3D, std::uint32_t adapter, GpuInfo& info);
    void ReadTextureMemory(const Object& direct3D, std::uint32_t adapter, GpuInfo& info);

    os::Direct3D* direct3D_;
    Flavour flavour_;
};

}  // namespace rigel
