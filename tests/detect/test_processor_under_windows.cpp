#include <gtest/gtest.h>

#ifdef _WIN32

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iomanip>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "detect/platform/cpu.h"
#include "detect/platform/intel_driver.h"
#include "detect/stored_values.h"
#include "os/cpu.h"
#include "os/fake/fake_clock.h"
#include "os/scoped_services.h"
#include "os/services.h"
#include "os/system_info.h"
#include "os/win32/com_apartment.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using Clock = std::chrono::steady_clock;

// The folder of this program, where the control looks for the programs it starts.
std::wstring OwnFolder() {
    std::wstring path;
    os::Current().systemInfo->OwnModuleFileName(260, path);
    return path.substr(0, path.rfind(L'\\'));
}

std::wstring Stored(std::uint32_t value) {
    const std::wstring prefix = std::to_wstring(value) + L"#0=";
    for (const auto& stored : test::Stored()) {
        if (stored.compare(0, prefix.size(), prefix) == 0) return stored.substr(prefix.size());
    }
    return L"(none)";
}

std::wstring Hex(unsigned number, int digits) {
    std::wostringstream text;
    text << std::uppercase << std::hex << std::setfill(L'0') << std::setw(digits) << number;
    return text.str();
}

// The processor's own name from the extended CPUID leaves. Linux's "model name" is no oracle for
// it: on a virtual machine the kernel may name the processor after its family ("AMD EPYC") while
// the processor, and so Wine's registry, reports the hypervisor's brand string.
std::wstring BrandString() {
    std::string brand;
    for (std::uint32_t leaf = 0x80000002; leaf <= 0x80000004; ++leaf) {
        const os::CpuidRegisters registers = os::Current().cpu->Cpuid(leaf, 0);
        for (std::uint32_t word : {registers.eax, registers.ebx, registers.ecx, registers.edx}) {
            for (int shift = 0; shift < 32; shift += 8) {
                brand.push_back(static_cast<char>((word >> shift) & 0xFF));
            }
        }
    }
    brand.resize(brand.find('\0') == std::string::npos ? brand.size() : brand.find('\0'));
    return std::wstring(brand.begin(), brand.end());
}

// The first processor of /proc/cpuinfo as Linux describes it, and how many there are.
struct LinuxProcessor {
    std::map<std::string, std::string> fields;
    unsigned count = 0;
};

LinuxProcessor ReadCpuinfo() {
    LinuxProcessor processor;
    std::ifstream lines("Z:\\proc\\cpuinfo");
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) continue;
        std::string key = line.substr(0, colon);
        key.erase(key.find_last_not_of(" \t") + 1);
        if (key == "processor") ++processor.count;
        const std::size_t start = line.find_first_not_of(' ', colon + 1);
        if (processor.count == 1) {
            processor.fields[key] = start == std::string::npos ? "" : line.substr(start);
        }
    }
    return processor;
}

TEST(ProcessorUnderWindows, TheProbeProgramBesideTheControlFillsTheSixValues) {
    test::FreshProcessState();
    const std::wstring textFile = OwnFolder() + L"\\cpuprobe.txt";
    FILE* stream = _wfopen(textFile.c_str(), L"wb");
    ASSERT_NE(stream, nullptr);
    std::fputs("71398|2|71399|1A2B|71396|A0C2|71395|4|71397|9|71394|HD \xC3\xA9|", stream);
    std::fclose(stream);

    const Clock::time_point start = Clock::now();
    IntelDriver& driver = IntelDriver::Instance();
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    RecordProperty("client_milliseconds", static_cast<int>(elapsed));

    EXPECT_TRUE(driver.IsProbeMode()) << "no driver file, so no service can start";
    EXPECT_EQ(driver.PlatformIdBits(), L"2");
    EXPECT_EQ(driver.DriverValue(), L"1A2B");
    EXPECT_EQ(driver.ChipsetDeviceWord(), L"A0C2");
    EXPECT_EQ(driver.ChipsetByte(), L"4");
    EXPECT_EQ(driver.HostBridgeByte(), L"9");
    EXPECT_EQ(driver.GraphicsText(), L"HD \u00E9");
    _wremove(textFile.c_str());
    test::FreshProcessState();
}

TEST(ProcessorUnderWindows, DetectsTheProcessorLinuxDescribes) {
    const LinuxProcessor host = ReadCpuinfo();
    ASSERT_GE(host.count, 1u) << "Z:\\proc\\cpuinfo is readable";
    os::ComApartment apartment;
    test::FreshProcessState();
    // The one-second clock measurement is left out: this counter moves a second per reading.
    os::FakeClock clock;
    clock.performanceCounterStep = clock.performanceFrequency;
    os::Services services = os::Current();
    services.clock = &clock;
    const os::ScopedServices scope(services);

    const Clock::time_point start = Clock::now();
    CPU cpu;
    EXPECT_TRUE(cpu.Detect());
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
    RecordProperty("detect_microseconds", static_cast<int>(elapsed));

    const std::map<std::string, std::wstring> vendors = {{"GenuineIntel", L"Intel"},
                                                         {"AuthenticAMD", L"AMD"}};
    const std::string& vendor = host.fields.at("vendor_id");
    ASSERT_EQ(vendors.count(vendor), 1u) << vendor;
    EXPECT_EQ(Stored(71296), vendors.at(vendor));
    EXPECT_EQ(Stored(71256), vendor == "GenuineIntel" ? L"Yes" : L"No");
    EXPECT_EQ(Stored(71252), vendor == "AuthenticAMD" ? L"Yes" : L"No");
    EXPECT_EQ(Stored(71061), CPU::CleanName(BrandString()));
    EXPECT_EQ(Stored(71254), std::to_wstring(host.count));
    EXPECT_EQ(Stored(71257), host.count > 1 ? L"Yes" : L"No");
    EXPECT_EQ(Stored(71390), Hex(std::stoul(host.fields.at("cpu family")), 2));
    EXPECT_EQ(Stored(71391), Hex(std::stoul(host.fields.at("model")), 2));
    EXPECT_EQ(Stored(71385), Hex(std::stoul(host.fields.at("stepping")), 1));
    test::FreshProcessState();
}

}  // namespace
}  // namespace rigel

#endif
