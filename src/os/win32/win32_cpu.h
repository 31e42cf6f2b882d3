#pragma once

#include "os/cpu.h"

namespace rigel::os {

class Win32Cpu : public Cpu {
  public:
    CpuidRegisters Cpuid(std::uint32_t leaf, std::uint32_t subLeaf) override;
    std::uint64_t TimeStampCounter() override;
};

}  // namespace rigel::os
