#include "os/win32/win32_cpu.h"

#include <intrin.h>

namespace rigel::os {

CpuidRegisters Win32Cpu::Cpuid(std::uint32_t leaf, std::uint32_t subLeaf) {
    int registers[4] = {};
    __cpuidex(registers, static_cast<int>(leaf), static_cast<int>(subLeaf));
    return CpuidRegisters{
        static_cast<std::uint32_t>(registers[0]), static_cast<std::uint32_t>(registers[1]),
        static_cast<std::uint32_t>(registers[2]), static_cast<std::uint32_t>(registers[3])};
}

std::uint64_t Win32Cpu::TimeStampCounter() { return __rdtsc(); }

}  // namespace rigel::os
