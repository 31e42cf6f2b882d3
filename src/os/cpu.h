#pragma once

#include <cstdint>

namespace rigel::os {

// The four result registers of one CPUID query.
struct CpuidRegisters {
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

// The processor's own instructions: CPUID and RDTSC.
class Cpu {
  public:
    virtual ~Cpu() = default;
    virtual CpuidRegisters Cpuid(std::uint32_t leaf, std::uint32_t subLeaf) = 0;
    virtual std::uint64_t TimeStampCounter() = 0;
};

}  // namespace rigel::os
