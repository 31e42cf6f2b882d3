#pragma once

#include "core/detector.h"
#include "detect/devices/gpu_info.h"

namespace rigel {

// The graphics adapters: the Setup API lists the adapters that are reported, the Direct3D,
// DXGI and diagnostics sources enrich each with what they know of the same device, and an
// adapter that none of them saw borrows from a sibling of its family.
class GPU : public Detector {
  public:
    GPU();
    ~GPU() override;

  protected:
    void Run() override;
};

// Merges what source says about an adapter into record: the first non-empty text wins, the
// highest version and the largest size win, flags are or-ed.
void MergeGpuInfo(GpuInfo& record, const GpuInfo& source);

}  // namespace rigel
