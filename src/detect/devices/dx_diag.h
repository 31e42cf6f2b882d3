#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "detect/devices/diagnostics_tree.h"
#include "detect/devices/gpu_info.h"
#include "values/source.h"

namespace rigel {

// The graphics adapters as the DirectX diagnostics provider describes them, from the tree the
// process reads once (DiagnosticsTree); without it the source answers nothing.
class DXDiag : public Source {
  public:
    static DXDiag& Instance();
    // Drops the instance with its provider (the product never calls it).
    static void DestroyInstanceForTesting();

    bool IsInitialized() const { return initialized_; }

    // Appends one record per display device; never clears the list and never throws.
    void GetGpuInfo(std::vector<GpuInfo>& list);

  private:
    DXDiag();
    bool Initialize();
    void ReadDevice(const DiagnosticsSnapshot::Device& device, std::vector<GpuInfo>& list);
    void LogPropertyNames(const DiagnosticsSnapshot::Device& device);
    GpuInfo ReadProperties(const DiagnosticsSnapshot::Device& device);
    // The property's text when it could be read.
    static bool ReadText(const DiagnosticsSnapshot::Device& device, const wchar_t* name,
                         std::wstring& text);

    const DiagnosticsSnapshot* snapshot_ = nullptr;  // the tree's, not owned
    bool initialized_ = false;
};

}  // namespace rigel
