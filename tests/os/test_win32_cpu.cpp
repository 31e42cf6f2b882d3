#include <gtest/gtest.h>

#ifdef _WIN32

#include <cstdint>
#include <string>

#include "os/win32/win32_cpu.h"
#include "os/win32/win32_system_info.h"

namespace rigel::os {
namespace {

// The vendor and brand texts are checked against Linux's where the processor is detected.
TEST(Win32CpuTest, TheHostProcessorAnswers) {
    Win32Cpu cpu;
    EXPECT_GE(cpu.Cpuid(0, 0).eax, 1u);
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
