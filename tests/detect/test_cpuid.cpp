#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "detect/platform/cpuid.h"
#include "diag/log.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

// Registers of leaf 0 for a 12-character vendor text: EBX, EDX, ECX, lowest byte first.
os::CpuidRegisters VendorLeaf(std::uint32_t maxLeaf, const char* vendor) {
    std::uint32_t words[3] = {};
    std::memcpy(words, vendor, 12);
    return os::CpuidRegisters{maxLeaf, words[0], words[2], words[1]};
}

class CpuidTest : public ::testing::Test {
  protected:
    CpuInfo Read() {
        CpuInfo info;
        EXPECT_TRUE(CPUID::Instance().GetCpuInfo(info));
        return info;
    }

    // A fresh process with an empty debugger output, for each case of a table.
    void Fresh() {
        test::FreshProcessState();
        machine.debugOutput.chunks.clear();
    }

    test::FakeMachine machine;
};

TEST_F(CpuidTest, VendorTextsNameTheirMakers) {
    struct Case {
        const char* vendor;
        const wchar_t* name;
        bool intel;
        bool amd;
    };
    const Case cases[] = {
        {"GenuineIntel", L"Intel", true, false},
        {"AuthenticAMD", L"AMD", false, true},
        {"genuineINTEL", L"Intel", true, false},
        {"CyrixInstead", L"Cyrix", false, false},
        {"CentaurHauls", L"Centaur", false, false},
        {"NexGenDriven", L"NexGen", false, false},
        {"GenuineTMx86", L"Transmeta", false, false},
        {"RiseRiseRise", L"Rise", false, false},
        {"UMC UMC UMC ", L"UMC", false, false},
        {"SiS SiS SiS ", L"Sis", false, false},
        {"Geode by NSC", L"National Semiconductor", false, false},
        {"KVMKVMKVM\0\0\0", L"", false, false},
        {"UMC UMC UMC_", L"", false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.vendor);
        Fresh();
        machine.cpu.SetLeaf(0, VendorLeaf(1, c.vendor));
        const CpuInfo info = Read();
        EXPECT_EQ(info.vendor, c.name);
        EXPECT_EQ(info.isIntel, c.intel);
        EXPECT_EQ(info.isAmd, c.amd);
    }
}

TEST_F(CpuidTest, VendorTextIsTheTwelveRegisterBytesAndAnUnknownOneLeavesTheCallersName) {
    machine.cpu.SetLeaf(0, VendorLeaf(0, "Hypervisor!!"));
    std::string text;
    EXPECT_TRUE(CPUID::Instance().GetVendorText(text));
    EXPECT_EQ(text, "Hypervisor!!");
    std::wstring vendor = L"kept";
    EXPECT_TRUE(CPUID::Instance().GetVendor(vendor));
    EXPECT_EQ(vendor, L"kept");
}

TEST_F(CpuidTest, SignatureFieldsAndProcessorIds) {
    struct Case {
        std::uint32_t maxLeaf;  // 0: leaf 1 is beyond the processor's bound
        std::uint32_t signature;
        std::uint32_t features;  // EDX of leaf 1
        const wchar_t* stepping;
        const wchar_t* family;
        const wchar_t* model;
        const wchar_t* type;
        const wchar_t* cpuId;
        const wchar_t* cpuIdShort;
    };
    const Case cases[] = {
        {1, 0x000306C3, 0xBFEBFBFF, L"3", L"06", L"3C", L"00", L"BFEBFBFF000306C3", L"0306C3"},
        {1, 0x00600F20, 0x178BFBFF, L"0", L"15", L"02", L"00", L"178BFBFF00600F20", L"600F20"},
        {1, 0x00000F4A, 0, L"A", L"0F", L"04", L"00", L"0000000000000F4A", L"000F4A"},
        {1, 0x000306A9, 0, L"9", L"06", L"3A", L"00", L"00000000000306A9", L"0306A9"},
        {1, 0x000F0543, 0, L"3", L"05", L"04", L"00", L"00000000000F0543", L"0F0543"},
        {1, 0x0000362F, 0, L"F", L"06", L"02", L"03", L"000000000000362F", L"00362F"},
        {1, 0x0FF00FFF, 0, L"F", L"10E", L"0F", L"00", L"000000000FF00FFF", L"F00FFF"},
        {0, 0x00600F20, 0, L"", L"", L"", L"", L"", L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.signature);
        Fresh();
        machine.cpu.SetLeaf(0, VendorLeaf(c.maxLeaf, "GenuineIntel"));
        machine.cpu.SetLeaf(1, os::CpuidRegisters{c.signature, 0, 0, c.features});
        const CpuInfo info = Read();
        EXPECT_EQ(info.stepping, c.stepping);
        EXPECT_EQ(info.family, c.family);
        EXPECT_EQ(info.model, c.model);
        EXPECT_EQ(info.processorType, c.type);
        EXPECT_EQ(info.cpuId, c.cpuId);
        EXPECT_EQ(info.cpuIdShort, c.cpuIdShort);
    }
}

TEST_F(CpuidTest, SignatureIsLoggedAtTrace) {
    Log::Instance().SetLevel(Log::kTrace);
    machine.cpu.SetLeaf(0, VendorLeaf(1, "GenuineIntel"));
    machine.cpu.SetLeaf(1, os::CpuidRegisters{0x0000362F, 0, 0, 0xBFEBFBFF});
    Read();
    EXPECT_EQ(machine.LogMessages(),
              (std::vector<std::wstring>{L"CPU Type: 3", L"CPU ID: BFEBFBFF0000362F",
                                         L"CPU ID Short: 00362F"}));
}

TEST_F(CpuidTest, NoCacheDescriptorIsSearchedInEveryByteButTheIterationCount) {
    struct Case {
        os::CpuidRegisters leaf2;
        bool expected;
    };
    const Case cases[] = {
        {{0x00000040, 0, 0, 0}, false},          {{0x00004001, 0, 0, 0}, true},
        {{0x40000001, 0, 0, 0}, true},           {{0x00000001, 0, 0, 0x00000040}, true},
        {{0x00000001, 0x40000000, 0, 0}, true},  {{0x00000001, 0, 0x00400000, 0}, true},
        {{0x80000001, 0x80000000, 0, 0}, false}, {{0x00000001, 0x41424344, 0x3F, 0x04}, false},
    };
    for (const auto& c : cases) {
        Fresh();
        machine.cpu.SetLeaf(0, VendorLeaf(2, "GenuineIntel"));
        machine.cpu.SetLeaf(2, c.leaf2);
        EXPECT_EQ(Read().noCacheDescriptor, c.expected)
            << std::hex << c.leaf2.eax << " " << c.leaf2.ebx << " " << c.leaf2.ecx << " "
            << c.leaf2.edx;
    }
}

TEST_F(CpuidTest, LeavesBeyondTheReportedBoundsAreRefused) {
    machine.cpu.SetLeaf(0, VendorLeaf(1, "GenuineIntel"));
    machine.cpu.SetLeaf(1, os::CpuidRegisters{0x000306C3, 0, 0, 0});
    machine.cpu.SetLeaf(2, os::CpuidRegisters{0x00004001, 0, 0, 0});
    // Only the low byte of the extended bound counts: 0x80000104 allows up to 0x80000004.
    machine.cpu.SetLeaf(0x80000000, os::CpuidRegisters{0x80000104, 0, 0, 0});
    machine.cpu.SetLeaf(0x80000004, os::CpuidRegisters{7, 7, 7, 7});
    machine.cpu.SetLeaf(0x80000005, os::CpuidRegisters{9, 9, 9, 9});

    const CpuInfo info = Read();
    EXPECT_FALSE(info.noCacheDescriptor);
    EXPECT_EQ(info.family, L"06");

    os::CpuidRegisters registers{1, 1, 1, 1};
    EXPECT_FALSE(CPUID::Instance().Query(2, registers));
    EXPECT_EQ(registers.eax, 0u);
    EXPECT_EQ(registers.edx, 0u);
    EXPECT_TRUE(CPUID::Instance().Query(0x80000004, registers));
    EXPECT_EQ(registers.eax, 7u);
    EXPECT_FALSE(CPUID::Instance().Query(0x80000005, registers));
    EXPECT_EQ(registers.ecx, 0u);
    for (const auto& query : machine.cpu.queries) {
        EXPECT_NE(query.first, 2u);
        EXPECT_EQ(query.second, 0u);
    }
}

}  // namespace
}  // namespace rigel
