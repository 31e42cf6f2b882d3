#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "detect/devices/cd_rom.h"
#include "detect/devices/dvd.h"
#include "detect/devices/scsi.h"
#include "detect/stored_values.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using os::FakeDeviceIo;
using os::FakeWmi;
using os::SetupApi;
using test::Stored;

constexpr std::uint32_t kMediaTypes = 0x2D0C04;

// A GET_MEDIA_TYPES reply: the device type, then as many bytes as the device sends.
FakeDeviceIo::Reply MediaTypes(std::uint32_t deviceType, std::size_t size = 8) {
    FakeDeviceIo::Reply reply;
    reply.bytes.assign(size, 0);
    for (std::size_t i = 0; i < 4 && i < size; ++i) {
        reply.bytes[i] = static_cast<std::uint8_t>(deviceType >> (8 * i));
    }
    return reply;
}

CDRomInfo Drive(const std::wstring& name, const std::wstring& deviceId,
                const std::wstring& mediaType, const std::wstring& drive) {
    CDRomInfo info;
    info.name = name;
    info.deviceId = deviceId;
    info.mediaType = mediaType;
    info.drive = drive;
    return info;
}

TEST(OpticalDriveTest, ADvdDriveIsKnownByItsDeviceTypeOrItsTexts) {
    struct Case {
        const char* what;
        CDRomInfo drive;
        FakeDeviceIo::Reply reply;  // for \\.\E:
        bool opens;
        bool dvd;
    };
    FakeDeviceIo::Reply failing;
    failing.error = FakeDeviceIo::kErrorInvalidFunction;
    const FakeDeviceIo::Reply none;
    const FakeDeviceIo::Reply dvd = MediaTypes(0x33);
    const Case cases[] = {
        {"device type DVD", Drive(L"Optiarc AD-7260S", L"IDE\\CdRomOptiarc", L"", L"E:"), dvd, true,
         true},
        {"device type CD-ROM, CD texts",
         Drive(L"CD-ROM Drive", L"IDE\\CDROMHL-DT-ST", L"CD-ROM", L"E:"), MediaTypes(2), true,
         false},
        {"device that cannot be opened", Drive(L"Generic DVDRW X24 ATA Device", L"", L"", L"E:"),
         dvd, false, true},
        {"combination drive", Drive(L"Drive", L"", L"CD-RW Combo", L""), none, false, true},
        {"dvd in the identifier", Drive(L"Drive", L"IDE\\CdRomPIONEER_DVD-RW", L"", L""), none,
         false, true},
        {"reply too short for the device type", Drive(L"Drive", L"", L"", L"E:"),
         MediaTypes(0x33, 3), true, false},
        {"query fails", Drive(L"Drive", L"", L"", L"E:"), failing, true, false},
        {"no texts", Drive(L"", L"", L"", L""), none, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        if (c.opens) {
            machine.deviceIo.AddDevice(L"\\\\.\\E:");
            machine.deviceIo.SetReply(L"\\\\.\\E:", kMediaTypes, c.reply);
        }
        EXPECT_EQ(DVD::IsDvdDrive(c.drive), c.dvd);
        EXPECT_EQ(machine.deviceIo.OpenCount(), 0u);
        if (c.drive.drive.empty()) {
            EXPECT_TRUE(machine.deviceIo.opens.empty());
            continue;
        }
        ASSERT_EQ(machine.deviceIo.opens.size(), 1u);
        EXPECT_EQ(machine.deviceIo.opens[0].path, L"\\\\.\\E:");
        EXPECT_EQ(machine.deviceIo.opens[0].access, 0u);
        EXPECT_EQ(machine.deviceIo.opens[0].share, 3u);
        EXPECT_EQ(machine.deviceIo.opens[0].disposition, 3u);
        if (c.opens) {
            ASSERT_EQ(machine.deviceIo.calls.size(), 1u);
            EXPECT_EQ(machine.deviceIo.calls[0].outSize, 500u);
            EXPECT_TRUE(machine.deviceIo.calls[0].in.empty());
        }
    }
}

TEST(OpticalDriveTest, TheWmiRowCompletesTheDriveOfTheSameName) {
    test::FakeMachine machine;
    machine.setupApi.AddDevice(SetupApi::kCdromClass)
        .Text(SetupApi::kFriendlyName, L"Optiarc AD-7260S")
        .Text(SetupApi::kHardwareId, L"IDE\\CdRomOptiarc_AD-7260S");
    machine.setupApi.AddDevice(SetupApi::kCdromClass)
        .Text(SetupApi::kFriendlyName, L"Generic DVDRW X24 ATA Device");
    machine.setupApi.AddDevice(SetupApi::kCdromClass)
        .Text(SetupApi::kFriendlyName, L"CD-ROM Drive")
        .Text(SetupApi::kHardwareId, L"IDE\\CdRom");
    machine.wmi.tables[L"Win32_CDROMDrive"] = {{{L"Name", FakeWmi::Text(L"Optiarc AD-7260S")},
                                                {L"Drive", FakeWmi::Text(L"E:")},
                                                {L"MediaType", FakeWmi::Text(L"CD-ROM")},
                                                {L"PNPDeviceID", FakeWmi::Text(L"other")}}};
    machine.deviceIo.AddDevice(L"\\\\.\\E:");
    machine.deviceIo.SetReply(L"\\\\.\\E:", kMediaTypes, MediaTypes(0x33));

    DVD().Detect();
    CDRom().Detect();
    EXPECT_EQ(Stored(),
              (std::vector<std::wstring>{
                  L"71068#0=Optiarc AD-7260S", L"71298#0=E:",
                  L"71068#1=Generic DVDRW X24 ATA Device", L"71298#1=", L"71093#0=Optiarc AD-7260S",
                  L"71093#1=Generic DVDRW X24 ATA Device", L"71093#2=CD-ROM Drive"}));
    ASSERT_EQ(machine.deviceIo.opens.size(), 1u);
}

TEST(OpticalDriveTest, NoDrivesNoValues) {
    test::FakeMachine machine;
    machine.wmi.tables[L"Win32_CDROMDrive"] = {
        {{L"Name", FakeWmi::Text(L"Virtual DVD")}, {L"Drive", FakeWmi::Text(L"F:")}}};
    DVD().Detect();
    CDRom().Detect();
    SCSI().Detect();
    EXPECT_TRUE(Stored().empty());
}

TEST(ScsiTest, EveryStorageAdapterWithItsDriverVersion) {
    test::FakeMachine machine;
    const std::wstring driverKey = L"SYSTEM\\CurrentControlSet\\Control\\Class\\scsi\\0000";
    machine.registry.AddKey(os::Registry::kLocalMachine, L"SYSTEM\\Enum\\scsi0");
    machine.registry.SetString(os::Registry::kLocalMachine, driverKey, L"DriverVersion",
                               L"10.1.0.1008");
    machine.setupApi.AddDevice(SetupApi::kScsiAdapterClass)
        .Text(SetupApi::kHardwareId, L"PCI\\VEN_8086&DEV_2822")
        .Keys(L"SYSTEM\\Enum\\scsi0", driverKey);
    machine.setupApi.AddDevice(SetupApi::kScsiAdapterClass)
        .Text(SetupApi::kHardwareId, L"ROOT\\VHDMP");

    SCSI().Detect();
    EXPECT_EQ(Stored(),
              (std::vector<std::wstring>{L"71428#0=PCI\\VEN_8086&DEV_2822", L"71429#0=10.1.0.1008",
                                         L"71428#1=ROOT\\VHDMP", L"71429#1="}));
}

}  // namespace
}  // namespace rigel
