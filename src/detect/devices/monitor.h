#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/detector.h"
#include "os/registry_closer.h"

namespace rigel {

class EdidBlock;

// The attached monitors that Windows keeps an EDID block for (identifier, name, raw bytes) and
// the largest resolution among all monitors, kept for the life of the process.
class Monitor : public Detector {
  public:
    Monitor();

    // Forgets the largest resolution seen (the product never calls it).
    static void ResetLargestResolutionForTesting();

  protected:
    void Run() override;

  private:
    // The registry search: stores identifier, name and EDID text per monitor found.
    void GetMonitorInfoW();
    // Reads the EDID of one monitor model's first instance; false when it has none.
    bool ReadModelEdid(const os::UniqueKey& display, const std::wstring& model,
                       std::vector<std::uint8_t>& edid);
    void StoreMonitor(std::uint32_t index, const EdidBlock& edid, const std::wstring& fallback);
    void LogDescriptors(const EdidBlock& edid);
    void KeepLargestResolution();
    void StoreLargestResolution();
};

}  // namespace rigel
