#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "detect/platform/sound.h"
#include "detect/stored_values.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using os::FakeWmi;
using os::SetupApi;
using test::Stored;

constexpr os::HKey kMachine = os::Registry::kLocalMachine;
const std::wstring kUninstall =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\"
    L"{F132AF7F-7BCA-4EDE-8A7C-958108FE7DBC}";
const std::wstring kUninstall32 =
    L"Software\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\"
    L"{F132AF7F-7BCA-4EDE-8A7C-958108FE7DBC}";

TEST(SoundTest, NoDeviceStillStoresThePackageVersions) {
    test::FakeMachine machine;
    Sound().Detect();
    EXPECT_EQ(Stored(),
              (std::vector<std::wstring>{L"71371#0=", L"71372#0=", L"71373#0=", L"71374#0="}));
}

TEST(SoundTest, DevicesFromTheSetupApiCompletedByTheWmiRowOfTheSameIdentifier) {
    test::FakeMachine machine;
    const std::wstring driverKey = L"SYSTEM\\CurrentControlSet\\Control\\Class\\media\\0000";
    machine.registry.AddKey(kMachine, L"SYSTEM\\Enum\\hda");
    machine.registry.SetString(kMachine, driverKey, L"DriverVersion", L"6.0.1.6242");
    machine.setupApi.AddDevice(SetupApi::kMediaClass)
        .Text(SetupApi::kFriendlyName, L"")
        .Text(SetupApi::kHardwareId, L"HDAUDIO\\FUNC_01&VEN_1102&DEV_0011")
        .Keys(L"SYSTEM\\Enum\\hda", driverKey);
    machine.setupApi.AddDevice(SetupApi::kMediaClass)
        .Text(SetupApi::kDeviceDescription, L"USB Audio Device")
        .Text(SetupApi::kHardwareId, L"USB\\VID_0D8C&PID_000C");
    machine.wmi.tables[L"Win32_SoundDevice"] = {
        {{L"Name", FakeWmi::Text(L"HD Audio Controller")},
         {L"DeviceID", FakeWmi::Text(L"HDAUDIO\\FUNC_01&VEN_1102&DEV_0011")}}};

    Sound().Detect();
    EXPECT_EQ(Stored(), (std::vector<std::wstring>{
                            L"71066#0=HD Audio Controller", L"71071#0=6.0.1.6242", L"71325#0=Yes",
                            L"71066#1=USB Audio Device", L"71071#1=", L"71325#1=No", L"71371#0=",
                            L"71372#0=", L"71373#0=", L"71374#0="}));
}

TEST(SoundTest, PackageVersionsFromTheFirstKeyThatGivesOne) {
    test::FakeMachine machine;
    // SoundMAX: the first key exists without a version and falls through.
    machine.registry.AddKey(kMachine, L"Software\\Analog Devices\\SoundMAX");
    machine.registry.SetString(kMachine, L"Software\\Wow6432Node\\Analog Devices\\SoundMAX",
                               L"Version", L"6.10.2.6590");
    // IDT: only the 64-bit view of the key opens.
    machine.registry.SetString(kMachine, L"Software\\IDT\\Audio", L"Version", L"6.10.6306.0");
    machine.registry.FailOpen(kMachine, L"Software\\IDT\\Audio", 0x20019, 2);
    // The uninstall entry: the first key wins over the Wow6432Node twin.
    machine.registry.SetString(kMachine, kUninstall, L"DisplayVersion", L"1.0.6");
    machine.registry.SetString(kMachine, kUninstall32, L"DisplayVersion", L"not read");
    // SigmaTel: a version that is not a text is not taken.
    machine.registry.SetDword(kMachine, L"Software\\SigmaTel\\Audio", L"Version", 5);

    Sound().Detect();
    EXPECT_EQ(Stored(), (std::vector<std::wstring>{L"71371#0=6.10.2.6590", L"71372#0=6.10.6306.0",
                                                   L"71373#0=1.0.6", L"71374#0="}));
    EXPECT_EQ(machine.registry.opens[0].first, kUninstall);
    EXPECT_EQ(machine.registry.opens[1].second, 0x20019u);
    EXPECT_EQ(machine.registry.opens[2].second, 0x20119u);
}

}  // namespace
}  // namespace rigel
