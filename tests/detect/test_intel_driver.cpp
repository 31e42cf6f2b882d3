#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "detect/intel_driver_stub.h"
#include "detect/platform/intel_driver.h"
#include "diag/log.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using os::ServiceControl;
using Strings = std::vector<std::wstring>;

const std::wstring kProbe = L"C:\\Program Files\\Rigel\\cpuprobe.exe";
const std::wstring kOpen = L"Open hwprobe F01FF";
const std::wstring kCreate = L"Create hwprobe C:\\Program Files\\Rigel\\hwprobe.sys";

// A chipset as the driver reads it: every one of the six values distinct.
test::DriverStub Chipset() {
    test::DriverStub stub;
    stub.msr17 = (std::uint64_t{5} << 50) | (std::uint64_t{1} << 53) | (std::uint64_t{1} << 49);
    stub.value = 0xFEDCBA9876543210;
    stub.configs[{1, 8086, 31, 0, 2, 1}] = {0, 0xABCD1C3A};
    stub.configs[{1, 8086, 31, 0, 8, 1}] = {0, 0x1234};
    stub.configs[{1, 8086, 0, 0, 8, 1}] = {0, 0x107};
    stub.configs[{0, 0x8086, 2, 0, 0xFC, 4}] = {0, 0xD0000000};
    stub.memory[0xD0000000] = "HD Graphics \xC3\xA9 4000";
    return stub;
}

class IntelDriverTest : public ::testing::Test {
  protected:
    IntelDriverTest() { Log::Instance().SetLevel(Log::kTrace); }
    ~IntelDriverTest() override {
        test::FreshProcessState();
        EXPECT_EQ(machine.serviceControl.OpenCount(), 0u);
        EXPECT_EQ(machine.deviceIo.OpenCount(), 0u);
        EXPECT_EQ(machine.sharedMemory.OpenCount(), 0u);
        EXPECT_EQ(machine.processLauncher.OpenCount(), 0u);
    }

    // The six values in the order 71398, 71399, 71396, 71395, 71397, 71394.
    static Strings Values() {
        IntelDriver& driver = IntelDriver::Instance();
        return {driver.PlatformIdBits(), driver.DriverValue(),    driver.ChipsetDeviceWord(),
                driver.ChipsetByte(),    driver.HostBridgeByte(), driver.GraphicsText()};
    }

    bool Logged(const std::wstring& message) const {
        const Strings messages = machine.LogMessages();
        return std::find(messages.begin(), messages.end(), message) != messages.end();
    }

    // A probe program that leaves text in the shared memory.
    void ProbeWrites(const std::wstring& text) {
        machine.processLauncher.programs[kProbe] = [this, text] {
            EXPECT_TRUE(machine.sharedMemory.WriteText(IntelDriver::kProbeBlockName, text));
        };
    }

    test::FakeMachine machine;
};

TEST_F(IntelDriverTest, ThirtyTwoBitNamesPassTheBlockByAddress) {
    Chipset().Install(machine.deviceIo, L"\\\\.\\hwprobe", false);

    EXPECT_EQ(Values(),
              (Strings{L"5", L"76543210", L"1C3A", L"52", L"7", L"HD Graphics \u00E9 4000"}));
    EXPECT_FALSE(IntelDriver::Instance().IsProbeMode());
    EXPECT_TRUE(Logged(L"Using 32 bit driver: C:\\Program Files\\Rigel\\hwprobe.sys"));
    EXPECT_EQ(machine.serviceControl.calls,
              (Strings{L"OpenManager F003F", kOpen, kCreate, L"Start hwprobe"}));
    const os::ServiceConfig& config = machine.serviceControl.services[L"hwprobe"].config;
    EXPECT_EQ(config.displayName, L"hwprobe");
    EXPECT_EQ(config.access, ServiceControl::kServiceAllAccess);
    EXPECT_EQ(config.type, ServiceControl::kKernelDriver);
    EXPECT_EQ(config.start, ServiceControl::kDemandStart);
    EXPECT_EQ(config.errorControl, ServiceControl::kErrorNormal);
    ASSERT_EQ(machine.deviceIo.opens.size(), 1u);
    const auto& open = machine.deviceIo.opens[0];
    EXPECT_EQ(open.path, L"\\\\.\\hwprobe");
    EXPECT_EQ(open.access, 0xC0000000u);
    EXPECT_EQ(open.share, 0u);
    EXPECT_EQ(open.disposition, 3u);
    EXPECT_EQ(open.flags, 0x04000000u);
    for (const auto& call : machine.deviceIo.calls) {
        EXPECT_EQ(call.in.size(), 8u) << "only the block's address goes in";
        EXPECT_EQ(call.outSize, 0u);
    }
    EXPECT_TRUE(machine.processLauncher.launches.empty());
}

TEST_F(IntelDriverTest, SixtyFourBitNamesPassTheBlockItself) {
    machine.systemInfo.wow64 = true;
    machine.systemInfo.moduleFileName = L"D:\\rigel.dll";
    Chipset().Install(machine.deviceIo, L"\\\\.\\hwprobe64", true);

    EXPECT_EQ(Values(), (Strings{L"5", L"FEDCBA9876543210", L"1C3A", L"52", L"7",
                                 L"HD Graphics \u00E9 4000"}));
    EXPECT_TRUE(Logged(L"Using 64 bit driver: D:\\\\hwprobe64.sys"));
    EXPECT_EQ(machine.serviceControl.calls[2], L"Create hwprobe64 D:\\\\hwprobe64.sys");
    const std::vector<std::uint32_t> sizes = {12, 8, 32, 32, 32, 32, 32};
    ASSERT_EQ(machine.deviceIo.calls.size(), sizes.size());
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        EXPECT_EQ(machine.deviceIo.calls[i].in.size(), sizes[i]);
        EXPECT_EQ(machine.deviceIo.calls[i].outSize, sizes[i]);
    }
}

TEST_F(IntelDriverTest, ServiceSetUpAndItsFailures) {
    struct Case {
        const char* what;
        std::uint32_t openManagerError;
        bool serviceExists;
        std::uint32_t createError;
        std::uint32_t startError;
        std::uint32_t deleteError;
        bool probeMode;
        Strings calls;        // after "OpenManager F003F"
        std::wstring logged;  // empty: no error line
    };
    const Strings started = {kOpen, L"Start hwprobe"};
    const Strings created = {kOpen, kCreate};
    const Strings removed = {kOpen, L"Start hwprobe", L"Control hwprobe 1", L"Delete hwprobe"};
    const Case cases[] = {
        {"installed service started", 0, true, 0, 0, 0, false, started, L""},
        {"already running counts as started", 0, true, 0, 1056, 0, false, started, L""},
        {"no manager", 5, false, 0, 0, 0, true, {}, L"Error with opening SC Manager : 5"},
        {"no service made", 0, false, 1073, 0, 0, true, created,
         L"Error with creating service: 1073"},
        {"start failed: stopped and deleted", 0, true, 0, 577, 0, true, removed, L""},
        {"start and deletion failed", 0, true, 0, 2, 1072, true, removed,
         L"Error with deleting servie: 1072"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FreshProcessState();
        Log::Instance().SetLevel(Log::kTrace);
        machine.debugOutput.chunks.clear();
        machine.serviceControl = os::FakeServiceControl{};
        machine.serviceControl.openManagerError = c.openManagerError;
        machine.serviceControl.createError = c.createError;
        machine.serviceControl.deleteError = c.deleteError;
        if (c.serviceExists) {
            auto& service = machine.serviceControl.services[L"hwprobe"];
            service.config.name = L"hwprobe";
            service.running = c.startError == 1056;
            if (c.startError != 1056) service.startError = c.startError;
        }
        machine.processLauncher.launches.clear();

        EXPECT_EQ(IntelDriver::Instance().IsProbeMode(), c.probeMode);
        Strings expected = {L"OpenManager F003F"};
        expected.insert(expected.end(), c.calls.begin(), c.calls.end());
        EXPECT_EQ(machine.serviceControl.calls, expected);
        EXPECT_EQ(machine.processLauncher.launches.size(), c.probeMode ? 1u : 0u);
        EXPECT_TRUE(c.logged.empty() || Logged(c.logged)) << c.logged;
        EXPECT_EQ(machine.serviceControl.OpenCount(), 0u);
    }
}

TEST_F(IntelDriverTest, ADeviceThatDoesNotOpenFailsEveryReadInDriverMode) {
    machine.deviceIo.FailOpen(L"\\\\.\\hwprobe", 2);

    EXPECT_EQ(Values(), (Strings{L"7", L"FFFFFFFFFFFFFFFF", L"", L"", L"", L""}));
    EXPECT_FALSE(IntelDriver::Instance().IsProbeMode());
    EXPECT_TRUE(Logged(L"Error with creating driver: 2"));
    EXPECT_TRUE(machine.processLauncher.launches.empty());
    EXPECT_TRUE(machine.deviceIo.calls.empty());
}

TEST_F(IntelDriverTest, EachReadFailsOnItsOwn) {
    test::DriverStub stub = Chipset();
    stub.configs.erase({1, 8086, 31, 0, 8, 1});
    stub.memory.clear();  // the graphics address is there, its text is not
    stub.Install(machine.deviceIo, L"\\\\.\\hwprobe", false);
    machine.deviceIo.SetReply(L"\\\\.\\hwprobe", IntelDriver::kReadMsrCode, {{}, 31, nullptr});

    EXPECT_EQ(Values(), (Strings{L"7", L"76543210", L"1C3A", L"", L"7", L""}));
}

TEST_F(IntelDriverTest, GraphicsTextNeedsAnAddressAndKeepsToTwentyFourBytes) {
    test::DriverStub stub = Chipset();
    stub.memory[0xD0000000] = std::string(24, 'x');
    stub.memory[0] = "never read";
    stub.Install(machine.deviceIo, L"\\\\.\\hwprobe", false);
    EXPECT_EQ(IntelDriver::Instance().GraphicsText(), std::wstring(24, L'x'));

    test::FreshProcessState();
    machine.deviceIo = os::FakeDeviceIo{};
    stub.configs[{0, 0x8086, 2, 0, 0xFC, 4}] = {0, 0};
    stub.Install(machine.deviceIo, L"\\\\.\\hwprobe", false);
    EXPECT_EQ(IntelDriver::Instance().GraphicsText(), L"");
    for (const auto& call : machine.deviceIo.calls) {
        EXPECT_NE(call.code, IntelDriver::kReadMemoryCode);
    }
}

TEST_F(IntelDriverTest, ProbeProgramRunsElevatedAndItsTextAnswers) {
    machine.serviceControl.openManagerError = 5;
    ProbeWrites(L"71395|12|71394|abc|");

    EXPECT_EQ(Values(), (Strings{L"", L"", L"", L"12", L"", L"abc"}));
    EXPECT_TRUE(IntelDriver::Instance().IsProbeMode());
    ASSERT_EQ(machine.processLauncher.launches.size(), 1u);
    const os::ShellLaunch& launch = machine.processLauncher.launches[0];
    EXPECT_EQ(launch.verb, L"runas");
    EXPECT_EQ(launch.file, kProbe);
    EXPECT_EQ(launch.parameters, L"");
    EXPECT_EQ(launch.mask, 0x240u);
    EXPECT_EQ(launch.show, 0);
    EXPECT_EQ(machine.processLauncher.waits, 1u);
}

TEST_F(IntelDriverTest, ProbeTextEdgeCases) {
    struct Case {
        const char* what;
        std::wstring text;  // what the probe program writes
        Strings expected;
        std::uint32_t launchError;
        bool givesProcess;
    };
    const Strings none(6, L"");
    const std::uint32_t declined = os::ProcessLauncher::kErrorCancelled;
    const Case cases[] = {
        {"all six", L"71398|3|71399|1F|71396|A0C2|71395|4|71397|9|71394|GT2|",
         Strings{L"3", L"1F", L"A0C2", L"4", L"9", L"GT2"}, 0, true},
        {"a value holding another key is found first", L"71394|71398|71398|5|",
         Strings{L"71398", L"", L"", L"", L"", L"71398"}, 0, true},
        {"last value without its bar", L"71395|12|71394|abc",
         Strings{L"", L"", L"", L"12", L"", L""}, 0, true},
        {"empty value", L"71395||71394|x|", Strings{L"", L"", L"", L"", L"", L"x"}, 0, true},
        {"nothing written", L"", none, 0, true},
        {"the user declines", L"71395|12|", none, declined, true},
        {"no process comes back", L"71395|12|", none, 0, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FreshProcessState();
        machine.processLauncher = os::FakeProcessLauncher{};
        machine.processLauncher.launchError = c.launchError;
        machine.processLauncher.givesProcess = c.givesProcess;
        machine.serviceControl.openManagerError = 5;
        ProbeWrites(c.text);
        EXPECT_EQ(Values(), c.expected);
        EXPECT_EQ(machine.processLauncher.waits, c.givesProcess && c.launchError == 0 ? 1u : 0u);
    }
}

TEST_F(IntelDriverTest, ALeftOverBlockIsClearedAndAnUnterminatedOneStaysInBounds) {
    machine.serviceControl.openManagerError = 5;
    // Another process keeps a block of the same name with an old text in it.
    os::HMapping held = 0;
    std::uint32_t error = 0;
    ASSERT_TRUE(machine.sharedMemory.Create(IntelDriver::kProbeBlockName, 4, 2000, held, error));
    ASSERT_TRUE(machine.sharedMemory.WriteText(IntelDriver::kProbeBlockName, L"71395|99|"));
    machine.processLauncher.programs[kProbe] = [] {};
    EXPECT_EQ(IntelDriver::Instance().ChipsetByte(), L"");

    test::FreshProcessState();
    machine.serviceControl.openManagerError = 5;
    // A program that fills all 2000 bytes without a terminator.
    machine.processLauncher.programs[kProbe] = [this] {
        std::vector<std::uint8_t> bytes;
        for (wchar_t c : std::wstring(L"71395|8|") + std::wstring(992, L'y')) {
            bytes.insert(bytes.end(), {static_cast<std::uint8_t>(c), 0});
        }
        EXPECT_TRUE(machine.sharedMemory.Write(IntelDriver::kProbeBlockName, 0, bytes));
    };
    EXPECT_EQ(IntelDriver::Instance().ChipsetByte(), L"8");
    machine.sharedMemory.Close(held);
}

TEST_F(IntelDriverTest, DroppingTheClientStopsAndDeletesTheServiceItUsed) {
    Chipset().Install(machine.deviceIo, L"\\\\.\\hwprobe", false);
    IntelDriver::Instance();
    machine.serviceControl.calls.clear();

    IntelDriver::DestroyInstanceForTesting();
    EXPECT_EQ(machine.serviceControl.calls,
              (Strings{L"OpenManager F003F", kOpen, L"Control hwprobe 1", L"Delete hwprobe"}));
    EXPECT_EQ(machine.serviceControl.services.count(L"hwprobe"), 0u);
    EXPECT_EQ(machine.deviceIo.OpenCount(), 0u);
}

}  // namespace
}  // namespace rigel
