#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "detect/platform/cpu.h"
#include "detect/stored_values.h"
#include "support/fake_machine.h"
#include "support/store_and_log_lookup.h"

namespace rigel {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Strings = std::vector<std::wstring>;
using os::FakeWmi;

constexpr os::HKey kMachine = os::Registry::kLocalMachine;
const std::wstring kProcessor = L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
const std::wstring kInfinst = L"SOFTWARE\\Intel\\Infinst";

// A processor of the vendor with signature 0x000306C3, whose clock measures 1.8 GHz.
void Processor(test::FakeMachine& machine, const char* vendor) {
    std::uint32_t words[3] = {};
    std::memcpy(words, vendor, 12);
    machine.cpu.SetLeaf(0, {1, words[0], words[2], words[1]});
    machine.cpu.SetLeaf(1, {0x000306C3, 0, 0, 0xBFEBFBFF});
    machine.clock.performanceCounterStep = machine.clock.performanceFrequency;
    machine.cpu.timeStamps = {0, 1'800'000'000};
}

void Wmi(test::FakeMachine& machine, const std::wstring& name, std::uint32_t megahertz) {
    machine.wmi.tables[L"Win32_Processor"] = {{{L"Name", FakeWmi::Text(name)},
                                               {L"Manufacturer", FakeWmi::Text(L"WmiMaker")},
                                               {L"MaxClockSpeed", FakeWmi::Unsigned(megahertz)}}};
}

class CpuTest : public ::testing::Test {
  protected:
    CpuTest() { Processor(machine, "GenuineIntel"); }

    // Runs the detector afresh and gives the text stored under the value ID.
    std::wstring Detected(std::uint32_t value) {
        test::FreshProcessState();
        machine.cpu.timeStampReads = 0;
        CPU cpu;
        EXPECT_TRUE(cpu.Detect());
        const std::wstring text = test::StoredText(std::to_wstring(value) + L"#0");
        EXPECT_NE(text, L"(none)") << "nothing stored under " << value;
        return text;
    }

    test::FakeMachine machine;
};

TEST_F(CpuTest, IntelMachineStoresItsNineteenValuesAfterTheEarlyIntelFlag) {
    machine.registry.SetString(kMachine, kProcessor, L"ProcessorNameString",
                               L" \tIntel(R) Core(TM)    i7-3770  CPU @ 3.40GHz \r\n");
    machine.registry.SetDword(kMachine, kProcessor, L"~MHz", 3392);
    machine.registry.SetDword(kMachine, kProcessor, L"Platform ID", 16);
    machine.registry.SetValue(kMachine, kProcessor, L"Update Signature", os::Registry::kBinary,
                              {0, 0, 0, 0, 0x1C, 0, 0, 0});
    machine.registry.SetString(kMachine, kInfinst, L"infver", L"9.3.0.1019");
    Wmi(machine, L"WMI name", 2601);
    machine.systemInfo.systemInfo.numberOfProcessors = 4;
    // The driver's service starts, but its device does not open.
    machine.deviceIo.FailOpen(L"\\\\.\\hwprobe", 2);

    CPU cpu;
    EXPECT_TRUE(cpu.Detect());
    EXPECT_EQ(
        test::Stored(),
        (Strings{L"71256#0=Yes", L"71061#0=Intel(R) Core(TM) i7-3770 CPU @ 3.40GHz", L"71254#0=4",
                 L"71062#0=3.4 GHz", L"71296#0=Intel", L"71385#0=3", L"71390#0=06", L"71391#0=3C",
                 L"71389#0=00", L"71386#0=BFEBFBFF000306C3", L"71404#0=0306C3", L"71355#0=16",
                 L"71398#0=7", L"71392#0=1C", L"71257#0=Yes", L"71252#0=No", L"71253#0=No",
                 L"71399#0=FFFFFFFFFFFFFFFF", L"71393#0=9.3.0.1019"}));
    EXPECT_EQ(machine.serviceControl.calls.back(), L"Start hwprobe");
}

TEST_F(CpuTest, AmdMachineStoresTheIntelFlagOnceFalseAndLeavesTheDriverAlone) {
    Processor(machine, "AuthenticAMD");
    machine.systemInfo.systemInfo.numberOfProcessors = 1;

    CPU cpu;
    EXPECT_TRUE(cpu.Detect());
    EXPECT_EQ(test::Stored(),
              (Strings{L"71061#0=", L"71254#0=1", L"71062#0=1.8 GHz", L"71296#0=AMD", L"71385#0=3",
                       L"71390#0=06", L"71391#0=3C", L"71389#0=00", L"71386#0=BFEBFBFF000306C3",
                       L"71404#0=0306C3", L"71355#0=", L"71398#0=", L"71392#0=", L"71257#0=No",
                       L"71256#0=No", L"71252#0=Yes", L"71253#0=No", L"71399#0=", L"71393#0="}));
    EXPECT_TRUE(machine.serviceControl.calls.empty());
    EXPECT_TRUE(machine.processLauncher.launches.empty());
    EXPECT_TRUE(machine.deviceIo.opens.empty());
}

// The speed comes from the registry, else from WMI, else from the clock, which is measured only
// then: measuring reads the performance counter and the time-stamp counter, so a detection that
// took its speed from elsewhere reads neither.
TEST(CpuSpeedTest, ClockIsMeasuredOnlyWhenNeitherRegistryNorWmiGivesASpeed) {
    constexpr std::int64_t kAbsent = -1;
    const struct {
        const char* what;
        std::int64_t registryMegahertz;
        std::int64_t wmiMegahertz;
        const wchar_t* speed;
        bool measured;
    } cases[] = {
        {"registry and WMI", 3392, 2601, L"3.4 GHz", false},
        {"registry alone", 3392, kAbsent, L"3.4 GHz", false},
        {"WMI alone", kAbsent, 2601, L"2.6 GHz", false},
        {"a zero registry speed is no speed", 0, 2601, L"2.6 GHz", false},
        {"neither", kAbsent, kAbsent, L"1.8 GHz", true},
        {"a zero WMI speed is no speed", kAbsent, 0, L"1.8 GHz", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        Processor(machine, "GenuineIntel");
        if (c.registryMegahertz != kAbsent) {
            machine.registry.SetDword(kMachine, kProcessor, L"~MHz",
                                      static_cast<std::uint32_t>(c.registryMegahertz));
        }
        if (c.wmiMegahertz != kAbsent) {
            Wmi(machine, L"", static_cast<std::uint32_t>(c.wmiMegahertz));
        }
        CPU cpu;
        EXPECT_TRUE(cpu.Detect());
        EXPECT_EQ(test::StoredText(L"71062#0"), c.speed);
        EXPECT_EQ(machine.cpu.timeStampReads, c.measured ? 2u : 0u);
        EXPECT_EQ(machine.clock.performanceCounterReads > 0, c.measured)
            << machine.clock.performanceCounterReads << " counter readings";
    }
}

TEST_F(CpuTest, RegistryNameBeatsWmiAndIsCleaned) {
    Wmi(machine, L"  WMI   name ", 0);
    EXPECT_EQ(Detected(71061), L"WMI name");
    machine.registry.SetString(kMachine, kProcessor, L"ProcessorNameString", L"Registry name");
    EXPECT_EQ(Detected(71061), L"Registry name");
    machine.registry.SetString(kMachine, kProcessor, L"ProcessorNameString", L"\v\f");
    EXPECT_EQ(Detected(71061), L"") << "a name of white space only is empty, not WMI's";
}

TEST_F(CpuTest, NameCleaning) {
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"  Intel(R)    Core(TM)  i7 \t", L"Intel(R) Core(TM) i7"},
        {L"a     b", L"a b"},
        {L"a\t\tb", L"a\t\tb"},
        {L"\n\r\v\f\t x", L"x"},
        {L" ", L""},
        {L"", L""},
    };
    for (const auto& [raw, clean] : cases) EXPECT_EQ(CPU::CleanName(raw), clean) << raw;
}

TEST_F(CpuTest, MicrocodeUpdateAndChipsetVersionFromTheRegistry) {
    const struct {
        const char* what;
        std::uint32_t type;
        Bytes data;
        const wchar_t* expected;
    } cases[] = {
        {"eight bytes", os::Registry::kBinary, {0, 0, 0, 0, 0x1C, 0, 0, 0}, L"1C"},
        {"five bytes", os::Registry::kBinary, {0, 0, 0, 0, 0xA}, L"0A"},
        {"four bytes", os::Registry::kBinary, {0, 0, 0, 0x1C}, L""},
        {"not binary", os::Registry::kDword, {0, 0, 0, 0, 0x1C, 0, 0, 0}, L""},
    };
    for (const auto& c : cases) {
        machine.registry.SetValue(kMachine, kProcessor, L"Update Signature", c.type, c.data);
        EXPECT_EQ(Detected(71392), c.expected) << c.what;
    }

    machine.registry.SetString(kMachine, kInfinst, L"infver", L"8.3.0.1013");
    EXPECT_EQ(Detected(71393), L"8.3.0.1013");
    machine.registry.SetString(kMachine, kInfinst, L"version", L"9.1.1.1025");
    EXPECT_EQ(Detected(71393), L"9.1.1.1025");
}

TEST_F(CpuTest, IntelMachineTakesTheDriverValuesFromTheProbeWhenNoServiceCanBeMade) {
    machine.serviceControl.openManagerError = 5;
    machine.processLauncher.programs[L"C:\\Program Files\\Rigel\\cpuprobe.exe"] = [this] {
        machine.sharedMemory.WriteText(L"INTEL_VEGAPROBE_DRIVER", L"71398|1|71399|2B|");
    };
    EXPECT_EQ(Detected(71398), L"1");
    EXPECT_EQ(Detected(71399), L"2B");
}

}  // namespace
}  // namespace rigel
