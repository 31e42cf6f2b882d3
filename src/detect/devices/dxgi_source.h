#pragma once

#include <cstdint>
#include <vector>

#include "detect/devices/gpu_info.h"
#include "detect/devices/library_source.h"
#include "os/dxgi.h"

namespace rigel {

// The DXGI, Direct3D 10 and Direct3D 11 sources: the adapters DXGI lists, each completed by
// what a device of the source's own version reports on it.
class DxgiSource : public LibrarySource {
  public:
    // Appends one record per adapter; never clears the list and never throws.
    void GetGpuInfo(std::vector<GpuInfo>& list);

  protected:
    enum class Api { kDxgi, kDirect3D10, kDirect3D11 };

    DxgiSource(Api api, const std::vector<Library>& libraries, const Messages& messages);

  private:
    using Object = os::UniqueComObject<os::Dxgi>;

    Object CreateFactory();
    // The adapter at index; empty at the end of the list.
    Object NextAdapter(const Object& factory, std::uint32_t index);
    GpuInfo ReadAdapter(const Object& adapter);
    void ReadDescription(const Object& adapter, GpuInfo& info);
    void ReadDirect3D10(const Object& adapter, GpuInfo& info);
    void ReadDirect3D11(const Object& adapter, GpuInfo& info);
    Object Own(os::ComObject object);

    Api api_;
    os::Dxgi* dxgi_;
};

}  // namespace rigel
