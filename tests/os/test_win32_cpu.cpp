#include <gtest/gtest.h>

#ifdef _WIN32

#include <cstdint>
#include <cstring>
#include <string>

#include "os/win32/win32_cpu.h"
#include "os/win32/win32_system_info.h"

namespace rigel::os {
namespace {

TEST(Win32CpuTest, TheHostProcessorAnswers) {
    Win32Cpu cpu;
    const CpuidRegisters leaf0 = cpu.Cpuid(0, 0);
    EXPECT_GE(leaf0.eax, 1u);
    char vendor[13] = {};
    std::memcpy(vendor, &leaf0.ebx, 4);
    std::memcpy(vendor + 4, &leaf0.edx, 4);
    std::memcpy(vendor + 8, &leaf0.ecx, 4);
    EXPECT_EQ(std::strlen(vendor), 12u);
    EXPECT_GE(cpu.Cpuid(0x80000000, 0).eax, 0x80000000u);

    const std::uint64_t first = cpu.TimeStampCounter();
    EXPECT_GT(cpu.TimeStampCounter(), first);
}

TEST(Win32SystemInfoTest, WinesSystemAnswers) {
    Win32SystemInfo system;
    OsVersion version;
    ASSERT_TRUE(system.GetVersion(version));
    EXPECT_GE(version.major, 6u);
    EXPECT_EQ(version.platformId, SystemInfo::kPlatformNt);
    EXPECT_EQ(system.GetNativeSystemInfo().processorArchitecture, SystemInfo::kArchitectureAmd64);
    EXPECT_GE(system.GetSystemInfo().numberOfProcessors, 1u);
    bool wow64 = true;
    EXPECT_TRUE(system.IsWow64Process(wow64));
    EXPECT_FALSE(wow64);
    MemoryStatus memory;
    EXPECT_TRUE(system.GlobalMemoryStatusEx(memory));
    EXPECT_GT(memory.totalPhysical, 0u);
    EXPECT_GE(memory.totalPhysical, memory.availablePhysical);
    std::wstring guid;
    EXPECT_GE(system.CreateGuidText(guid), 0);
    ASSERT_EQ(guid.size(), 38u);
    EXPECT_EQ(guid.front(), L'{');
    EXPECT_EQ(guid.back(), L'}');
}

}  // namespace
}  // namespace rigel::os

#endif
