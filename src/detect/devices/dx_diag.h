#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "detect/devices/gpu_info.h"
#include "os/diagnostics.h"
#include "values/source.h"

namespace rigel {

// The graphics adapters as the DirectX diagnostics provider describes them, through the provider
// the process shares (DiagnosticsProvider); without it the source answers nothing.
class DXDiag : public Source {
  public:
    static DXDiag& Instance();
    // Drops the instance with its provider (the product never calls it).
    static void DestroyInstanceForTesting();

    bool IsInitialized() const { return initialized_; }

    // Appends one record per display device; never clears the list and never throws.
    void GetGpuInfo(std::vector<GpuInfo>& list);

  private:
    using Object = os::UniqueComObject<os::Diagnostics>;

    DXDiag();
    bool Initialize();
    Object Own(os::ComObject object);
    Object Child(const Object& container, const std::wstring& name);
    void ReadDevice(const Object& devices, std::uint32_t index, std::vector<GpuInfo>& list);
    void LogPropertyNames(const Object& device);
    GpuInfo ReadProperties(const Object& device);
    // The property's text when it can be read.
    bool ReadText(const Object& container, const std::wstring& name, std::wstring& text);

    os::Diagnostics* diagnostics_;
    os::ComObject provider_ = 0;  // shared, not owned
    bool initialized_ = false;
};

}  // namespace rigel
