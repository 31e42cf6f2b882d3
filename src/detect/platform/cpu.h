#pragma once

#include <initializer_list>
#include <string>

#include "core/detector.h"
#include "detect/platform/cpu_info.h"

namespace rigel {

// The processor: one record from each of CPUID, the registry, WMI, the system and (on Intel
// machines) the driver client, merged field by field in that order of trust and stored as
// nineteen values. The system's clock is measured only when the records before it name no speed.
class CPU : public Detector {
  public:
    CPU();

    // The name without white space at either end and with every run of blanks made one blank.
    static std::wstring CleanName(std::wstring name);

  protected:
    void Run() override;

  private:
    // Stores 71256 at once when any source saw an Intel processor, so the driver check sees it.
    static void StoreIntelEarly(std::initializer_list<const CpuInfo*> records);
    static CpuInfo ReadDriver();
    // Fills what result still lacks from source.
    static void Merge(CpuInfo& result, const CpuInfo& source);
    static void Store(CpuInfo& info);
};

}  // namespace rigel
