#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "detect/platform/wmi.h"
#include "diag/log.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using os::FakeWmi;

class WmiTest : public ::testing::Test {
  protected:
    ~WmiTest() override {
        WMI::DestroyInstanceForTesting();
        EXPECT_EQ(machine.wmi.LiveObjectCount(), 0u);
    }

    WMI& wmi() { return WMI::Instance(); }

    // A fresh process with an empty debugger output, for each case of a table.
    void Fresh() {
        test::FreshProcessState();
        machine.debugOutput.chunks.clear();
    }

    // What the six operations answer: processor, disks, CD-ROMs, sound, BIOS, baseboard. A failed
    // one leaves every list empty and the processor unnamed.
    std::vector<bool> AskAll() {
        CpuInfo info;
        std::vector<HardDriveInfo> disks;
        std::vector<CDRomInfo> drives;
        std::vector<SoundInfo> sounds;
        BiosInfo bios;
        SoundInfo board;
        const std::vector<bool> answers = {
            wmi().GetCpuInfo(info),       wmi().GetDiskDriveValues(disks),
            wmi().GetCDRomValues(drives), wmi().GetSoundValues(sounds),
            wmi().GetBiosValues(bios),    wmi().GetMotherboardValues(board)};
        EXPECT_TRUE(info.name.empty() && disks.empty() && drives.empty() && sounds.empty());
        return answers;
    }

    test::FakeMachine machine;
};

std::wstring Text(Name name) { return name.ToString(); }

TEST_F(WmiTest, ConnectsToCimv2WithTheProxyBlanketAndQueriesForwardOnly) {
    machine.wmi.tables[L"Win32_BIOS"] = {{{L"Name", FakeWmi::Text(L"Default System BIOS")}}};
    Log::Instance().SetLevel(Log::kMark);
    BiosInfo bios;
    EXPECT_TRUE(wmi().GetBiosValues(bios));

    EXPECT_EQ(machine.wmi.nameSpace, L"ROOT\\CIMV2");
    const os::ProxyBlanket& b = machine.wmi.blanket;
    EXPECT_EQ(
        (std::vector<std::uint32_t>{b.authenticationService, b.authorizationService,
                                    b.authenticationLevel, b.impersonationLevel, b.capabilities}),
        (std::vector<std::uint32_t>{10, 0, 3, 3, 0}));
    ASSERT_EQ(machine.wmi.queries.size(), 1u);
    const auto& query = machine.wmi.queries[0];
    EXPECT_EQ(query.language + L"|" + query.text, L"WQL|SELECT * FROM Win32_BIOS");
    EXPECT_EQ(query.flags, 48);
    ASSERT_EQ(machine.wmi.nextCalls.size(), 1u);
    EXPECT_EQ(machine.wmi.nextCalls[0].timeout, 0xFFFFFFFFu);
    EXPECT_EQ(machine.wmi.nextCalls[0].count, 1u);
    EXPECT_EQ(machine.LogMessages(),
              (std::vector<std::wstring>{
                  L"Entering: rigel::WMI::Init", L"WMI inited ok.", L"Exiting: rigel::WMI::Init",
                  L"WMI value: Default System BIOS", L"WMI value: ", L"WMI value: "}));
}

TEST_F(WmiTest, AFailedConnectionStepAnswersEveryQueryWithNothing) {
    enum Step { kLocator, kConnect, kBlanket };
    for (Step step : {kLocator, kConnect, kBlanket}) {
        Fresh();
        machine.wmi = FakeWmi();
        machine.wmi.tables[L"Win32_Processor"] = {{{L"Name", FakeWmi::Text(L"CPU")}}};
        const std::int32_t failure = static_cast<std::int32_t>(0x80004005);
        if (step == kLocator) machine.wmi.createLocatorStatus = failure;
        if (step == kConnect) machine.wmi.connectStatus = failure;
        if (step == kBlanket) machine.wmi.blanketStatus = failure;
        Log::Instance().SetLevel(Log::kTrace);

        EXPECT_EQ(AskAll(), std::vector<bool>(6, false));
        EXPECT_TRUE(machine.wmi.queries.empty());
        EXPECT_EQ(machine.LogMessages(), std::vector<std::wstring>{L"WMI init failure."});
        EXPECT_EQ(machine.wmi.LiveObjectCount(), 0u) << step;
    }
}

TEST_F(WmiTest, ProcessorFromTheFirstRow) {
    machine.wmi.tables[L"Win32_Processor"] = {
        {{L"Name", FakeWmi::Text(L"Intel(R) Xeon(R)")},
         {L"Manufacturer", FakeWmi::Text(L"GenuineIntel")},
         {L"MaxClockSpeed", FakeWmi::Unsigned(3401)}},
        {{L"Name", FakeWmi::Text(L"Second")}, {L"MaxClockSpeed", FakeWmi::Unsigned(1)}}};
    Log::Instance().SetLevel(Log::kTrace);
    CpuInfo info;
    EXPECT_TRUE(wmi().GetCpuInfo(info));
    EXPECT_EQ(info.name, L"Intel(R) Xeon(R)");
    EXPECT_EQ(info.vendor, L"GenuineIntel");
    EXPECT_EQ(info.speed.GetHertz(), 3401000000u);
    EXPECT_EQ(machine.LogMessages(),
              (std::vector<std::wstring>{L"WMI inited ok.", L"WMI value: Intel(R) Xeon(R)",
                                         L"WMI CPU: Intel(R) Xeon(R)", L"WMI value: GenuineIntel",
                                         L"WMI value: 3401"}));
}

TEST_F(WmiTest, NullPropertiesAreEmptyTextsAndMissingOnesLeaveTheField) {
    machine.wmi.tables[L"Win32_Processor"] = {{{L"Name", FakeWmi::Null(FakeWmi::kCimString)},
                                               {L"MaxClockSpeed", FakeWmi::Text(L"2400")}}};
    CpuInfo info;
    info.name = L"from before";
    info.vendor = L"kept";
    EXPECT_TRUE(wmi().GetCpuInfo(info));
    EXPECT_EQ(info.name, L"");
    EXPECT_EQ(info.vendor, L"kept");
    EXPECT_EQ(info.speed.GetHertz(), 2400000000u);
}

TEST_F(WmiTest, PropertiesOfUnexpectedTypesEndTheOperationWithItsMessage) {
    struct Case {
        const char* what;
        FakeWmi::Row row;
        std::wstring name;
        std::uint64_t hertz;
    };
    const Case cases[] = {
        {"array name", {{L"Name", FakeWmi::Unconvertible(FakeWmi::kCimFlagArray | 8)}}, L"", 0},
        {"text speed",
         {{L"Name", FakeWmi::Text(L"CPU")}, {L"MaxClockSpeed", FakeWmi::Text(L"fast")}},
         L"CPU",
         0},
        {"null speed",
         {{L"Name", FakeWmi::Text(L"CPU")}, {L"MaxClockSpeed", FakeWmi::Null(19)}},
         L"CPU",
         0},
        {"empty type", {{L"Name", FakeWmi::Unconvertible(0)}}, L"", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Fresh();
        machine.wmi.tables[L"Win32_Processor"] = {c.row};
        Log::Instance().SetLevel(Log::kError);
        CpuInfo info;
        EXPECT_TRUE(wmi().GetCpuInfo(info));
        EXPECT_EQ(info.name, c.name);
        EXPECT_EQ(info.speed.GetHertz(), c.hertz);
        const bool failed = std::string(c.what) != "empty type";
        EXPECT_EQ(machine.LogMessages(),
                  failed ? std::vector<std::wstring>{L"Error in WMI CPU detection."}
                         : std::vector<std::wstring>{});
    }
}

// Rows are asked for 200 at a time and overwrite field by field; the result tells whether a
// manufacturer came; a property that cannot be read ends the operation with its message.
TEST_F(WmiTest, BaseboardRowsAndWhetherAManufacturerCame) {
    struct Case {
        std::vector<FakeWmi::Row> rows;
        bool expected;
        std::wstring board;  // name|hardwareId|driverVersion
        std::vector<std::wstring> messages;
    };
    const std::vector<std::wstring> failed = {L"Error in WMI::GetMotherboardValues."};
    const os::WmiValue unreadable = FakeWmi::Unconvertible(0x2008);
    const Case cases[] = {
        {{{{L"Manufacturer", FakeWmi::Text(L"ASUSTeK")},
           {L"Product", FakeWmi::Text(L"P8Z68")},
           {L"Version", FakeWmi::Text(L"Rev 1.xx")}},
          {{L"Product", FakeWmi::Text(L"Second board")}}},
         true,
         L"ASUSTeK|Second board|Rev 1.xx",
         {}},
        {{{{L"Product", FakeWmi::Text(L"X")}}}, false, L"|X|", {}},
        {{{{L"Manufacturer", FakeWmi::Null(8)}}}, true, L"||", {}},
        {{{{L"Manufacturer", FakeWmi::Text(L"M")}}, {{L"Product", unreadable}}},
         true,
         L"M||",
         failed},
        {{{{L"Product", unreadable}}}, false, L"||", failed},
        {{}, false, L"||", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.board);
        Fresh();
        machine.wmi.tables[L"Win32_BaseBoard"] = c.rows;
        Log::Instance().SetLevel(Log::kError);
        SoundInfo board;
        EXPECT_EQ(wmi().GetMotherboardValues(board), c.expected);
        EXPECT_EQ(board.name + L"|" + board.hardwareId + L"|" + board.driverVersion, c.board);
        EXPECT_EQ(machine.LogMessages(), c.messages);
        EXPECT_EQ(machine.wmi.nextCalls.back().count, 200u);
    }
}

// Appended in row order, a missing name left empty; a row whose index is not a number ends the
// list quietly.
TEST_F(WmiTest, DisksInRowOrderUntilOneWithoutANumericIndex) {
    machine.wmi.tables[L"Win32_DiskDrive"] = {
        {{L"Model", FakeWmi::Text(L"Disk A")},
         {L"Name", FakeWmi::Text(L"\\\\.\\PHYSICALDRIVE0")},
         {L"Index", FakeWmi::Unsigned(0)}},
        {{L"Model", FakeWmi::Text(L"Disk B")}, {L"Index", FakeWmi::Unsigned(2)}},
        {{L"Model", FakeWmi::Text(L"Disk C")},
         {L"Name", FakeWmi::Text(L"\\\\.\\PHYSICALDRIVE1")},
         {L"Index", FakeWmi::Unsigned(1)}},
        {{L"Model", FakeWmi::Text(L"Disk D")}, {L"Index", FakeWmi::Text(L"first")}},
        {{L"Model", FakeWmi::Text(L"Disk E")}, {L"Index", FakeWmi::Unsigned(3)}}};
    Log::Instance().SetLevel(Log::kError);
    std::vector<HardDriveInfo> disks(1);
    EXPECT_TRUE(wmi().GetDiskDriveValues(disks));
    ASSERT_FALSE(disks.empty());
    std::vector<std::wstring> appended;
    for (auto disk = disks.begin() + 1; disk != disks.end(); ++disk) {
        appended.push_back(Text(disk->model) + L"|" + Text(disk->deviceName) + L"|" +
                           std::to_wstring(disk->index));
    }
    EXPECT_EQ(appended, (std::vector<std::wstring>{L"Disk A|\\\\.\\PHYSICALDRIVE0|0", L"Disk B||2",
                                                   L"Disk C|\\\\.\\PHYSICALDRIVE1|1"}));
    EXPECT_TRUE(machine.LogMessages().empty());
}

TEST_F(WmiTest, FirstRowOperationsAppendOneRecord) {
    machine.wmi.tables[L"Win32_CDROMDrive"] = {{{L"Name", FakeWmi::Text(L"DVD RW")},
                                                {L"PNPDeviceID", FakeWmi::Text(L"IDE\\CDROM")},
                                                {L"Drive", FakeWmi::Text(L"E:")},
                                                {L"MediaType", FakeWmi::Text(L"DVD Writer")}},
                                               {{L"Name", FakeWmi::Text(L"Second drive")}}};
    machine.wmi.tables[L"Win32_SoundDevice"] = {
        {{L"Name", FakeWmi::Text(L"Wine Audio Device")}, {L"DeviceID", FakeWmi::Text(L"WINE")}}};
    machine.wmi.tables[L"Win32_BIOS"] = {{{L"Name", FakeWmi::Text(L"BIOS Date: 07/10/09")},
                                          {L"Manufacturer", FakeWmi::Text(L"The Wine Project")},
                                          {L"SMBIOSBIOSVersion", FakeWmi::Text(L"0802")}}};
    std::vector<CDRomInfo> drives;
    EXPECT_TRUE(wmi().GetCDRomValues(drives));
    ASSERT_EQ(drives.size(), 1u);
    const CDRomInfo& drive = drives[0];
    EXPECT_EQ(
        Text(drive.name) + L"|" + drive.deviceId + L"|" + drive.drive + L"|" + drive.mediaType,
        L"DVD RW|IDE\\CDROM|E:|DVD Writer");

    std::vector<SoundInfo> sounds;
    EXPECT_TRUE(wmi().GetSoundValues(sounds));
    ASSERT_EQ(sounds.size(), 1u);
    EXPECT_EQ(sounds[0].name + L"|" + sounds[0].hardwareId, L"Wine Audio Device|WINE");

    BiosInfo bios;
    EXPECT_TRUE(wmi().GetBiosValues(bios));
    EXPECT_EQ(Text(bios.name) + L"|" + Text(bios.manufacturer) + L"|" + Text(bios.version),
              L"BIOS Date: 07/10/09|The Wine Project|0802");
}

TEST_F(WmiTest, QueriesWithoutRowsOrWithFailures) {
    const std::int32_t failure = static_cast<std::int32_t>(0x80041001);
    machine.wmi.queryStatus[L"Win32_Processor"] = failure;
    machine.wmi.queryStatus[L"Win32_DiskDrive"] = failure;
    machine.wmi.queryStatus[L"Win32_BIOS"] = failure;
    machine.wmi.tables[L"Win32_SoundDevice"] = {{{L"Name", FakeWmi::Text(L"X")}}};
    machine.wmi.nextStatus[L"Win32_SoundDevice"] = static_cast<std::int32_t>(0x80041001);
    machine.wmi.tables[L"Win32_CDROMDrive"] = {{{L"Name", FakeWmi::Unconvertible(0x2008)}}};
    Log::Instance().SetLevel(Log::kError);

    EXPECT_EQ(AskAll(), (std::vector<bool>{true, true, false, false, false, false}));
    EXPECT_EQ(machine.LogMessages(), std::vector<std::wstring>{L"Error in WMI GetCDRomValues."});
}

}  // namespace
}  // namespace rigel
