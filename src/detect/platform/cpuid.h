#pragma once

#include <cstdint>
#include <string>

#include "detect/platform/cpu_info.h"
#include "os/cpu.h"
#include "values/source.h"

namespace rigel {

// The processor's identification through the CPUID instruction: vendor, signature fields,
// processor ID texts and the no-cache descriptor flag.
class CPUID : public Source {
  public:
    static CPUID& Instance();
    // Drops the instance so that a test reads its bounds afresh (the product never calls it).
    static void DestroyInstanceForTesting();

    // Runs the leaf with sub-leaf 0 into registers (zeroed first); false, with the registers
    // left zero, when the leaf is beyond what the processor reported.
    bool Query(std::uint32_t leaf, os::CpuidRegisters& registers);
    // The 12 vendor bytes of leaf 0: EBX, EDX, ECX, each from its lowest byte.
    bool GetVendorText(std::string& text);
    // The vendor's display name; text is left as it is for a vendor that is not known.
    bool GetVendor(std::wstring& text);
    bool IsIntel();
    bool IsAmd();
    bool HasNoCacheDescriptor();
    bool GetCpuInfo(CpuInfo& info);

  private:
    CPUID();

    std::uint32_t maxStandardLeaf_ = 0;
    std::uint32_t maxExtendedLeaf_ = 0;  // only the low 8 bits of leaf 0x80000000's EAX
};

}  // namespace rigel
