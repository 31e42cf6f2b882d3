#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "detect/devices/setup_lib.h"
#include "diag/log.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using os::FakeSetupApi;
using os::Registry;
using os::SetupApi;

constexpr os::HKey kMachine = Registry::kLocalMachine;
const std::wstring kEnum = L"SYSTEM\\CurrentControlSet\\Enum\\PCI\\";
const std::wstring kClass = L"SYSTEM\\CurrentControlSet\\Control\\Class\\";

// One of the library's queries, run on an empty list.
template <class Info>
std::function<void(SetupLib&)> Query(void (SetupLib::*get)(std::vector<Info>&)) {
    return [get](SetupLib& lib) {
        std::vector<Info> list;
        (lib.*get)(list);
    };
}

class SetupLibTest : public ::testing::Test {
  protected:
    ~SetupLibTest() override {
        SetupLib::DestroyInstanceForTesting();
        EXPECT_EQ(machine.setupApi.OpenSetCount(), 0u);
        EXPECT_EQ(machine.setupApi.OpenInfCount(), 0u);
        EXPECT_EQ(machine.registry.OpenKeyCount(), 0u);
        EXPECT_FALSE(machine.setupApi.LibraryLoaded());
    }

    SetupLib& lib() { return SetupLib::Instance(); }

    // A device of the class whose two keys exist in the registry under the given names.
    FakeSetupApi::Device& AddDevice(const os::ClassGuid& setupClass, const std::wstring& name) {
        machine.registry.AddKey(kMachine, kEnum + name);
        machine.registry.AddKey(kMachine, kClass + name);
        return machine.setupApi.AddDevice(setupClass).Keys(kEnum + name, kClass + name);
    }
    void SetDriverText(const std::wstring& device, const std::wstring& path,
                       const std::wstring& name, const std::wstring& text) {
        machine.registry.SetString(kMachine, kClass + device + path, name, text);
    }

    // Whether some log line carries the level and ends with the message.
    bool Logged(const wchar_t* level, const std::wstring& message) const {
        const auto lines = machine.LogLines();
        return std::any_of(lines.begin(), lines.end(), [&](const std::wstring& line) {
            return line.find(level) != std::wstring::npos && line.size() >= message.size() &&
                   line.compare(line.size() - message.size(), message.size(), message) == 0;
        });
    }

    test::FakeMachine machine;
};

TEST_F(SetupLibTest, InitializationFailuresLeaveEveryQueryEmpty) {
    struct Case {
        std::uint32_t loadError;
        std::string missing;
        std::wstring message;
    };
    const Case cases[] = {
        {126, "", L"Failure to load setupapi.dll: 126"},
        {0, "SetupDiGetDeviceInstanceIdW", L"Error getting proc addresses from Setup library."},
        {0, "SetupDiDestroyDeviceInfoList", L"Error getting proc addresses from Setup library."},
    };
    for (const Case& c : cases) {
        test::FreshProcessState();
        machine.debugOutput.chunks.clear();
        machine.setupApi = FakeSetupApi(machine.registry);
        machine.setupApi.loadError = c.loadError;
        machine.setupApi.missingEntryPoints = {c.missing};
        machine.setupApi.AddDevice(SetupApi::kCdromClass).Text(SetupApi::kFriendlyName, L"D");
        Log::Instance().SetLevel(Log::kTrace);

        std::vector<CDRomInfo> drives(1);
        lib().GetCDRomInfo(drives);
        EXPECT_EQ(drives.size(), 1u);
        EXPECT_TRUE(machine.setupApi.classRequests.empty());
        EXPECT_EQ(machine.LogMessages(),
                  (std::vector<std::wstring>{c.message, L"Failure to initialize SetupLib class"}));
        EXPECT_EQ(machine.setupApi.loads, std::vector<std::wstring>(1, L"setupapi.dll"));
        EXPECT_FALSE(lib().Initialize());
    }
}

TEST_F(SetupLibTest, ResolvesTheElevenEntryPointsOnceAndListsPresentDevicesOfTheClass) {
    std::vector<GpuInfo> adapters(1);
    lib().GetGpuInfo(adapters);
    EXPECT_TRUE(lib().Initialize());
    EXPECT_EQ(machine.setupApi.loads.size(), 1u);
    EXPECT_EQ(
        machine.setupApi.resolved,
        (std::vector<std::string>{
            "SetupDiGetClassDevsW", "SetupDiEnumDeviceInfo", "SetupDiGetDeviceRegistryPropertyW",
            "SetupDiGetDeviceInstanceIdW", "SetupFindFirstLineW", "SetupFindNextLine",
            "SetupGetLineTextW", "SetupOpenInfFileW", "SetupCloseInfFile", "SetupDiOpenDevRegKey",
            "SetupDiDestroyDeviceInfoList"}));
    EXPECT_EQ(adapters.size(), 1u);  // no display adapter: the caller's record stays alone
    ASSERT_EQ(machine.setupApi.classRequests.size(), 1u);
    EXPECT_EQ(machine.setupApi.classRequests[0].first, SetupApi::kDisplayClass);
    EXPECT_EQ(machine.setupApi.classRequests[0].second, 2u);
    EXPECT_EQ(machine.setupApi.enumSizes, std::vector<std::uint32_t>(1, 32u));
}

TEST_F(SetupLibTest, AMissingDeviceSetIsReportedByTheQueriesThatSaySo) {
    struct Case {
        std::function<void(SetupLib&)> query;
        std::vector<std::wstring> messages;
    };
    const std::wstring failed = L"SetupDiGetClassDevs failed with error: 5";
    const Case cases[] = {
        {Query(&SetupLib::GetGpuInfo), {failed, L"Failed call to GetDeviceSet for GetGpuInfo"}},
        {Query(&SetupLib::GetCDRomInfo), {failed, L"Failed call to GetDeviceSet for GetCDRomInfo"}},
        {Query(&SetupLib::GetSoundInfo), {failed, L"Failed call to GetDeviceSet for GetSoundInfo"}},
        {Query(&SetupLib::GetNetworkDeviceInfo),
         {failed, L"Failed call to GetDeviceSet for GetNetworkDeviceInfo"}},
        {Query(&SetupLib::GetHardDriveInfo), {failed}},
        {Query(&SetupLib::GetScsiInfo), {failed}},
    };
    machine.setupApi.classDevicesError = 5;
    lib();
    Log::Instance().SetLevel(Log::kWarning);
    for (const Case& c : cases) {
        machine.debugOutput.chunks.clear();
        c.query(lib());
        EXPECT_EQ(machine.LogMessages(), c.messages);
    }
}

TEST_F(SetupLibTest, RegistryValuesReadAsTextOrUnsignedNumbersOnly) {
    const std::wstring key = L"SOFTWARE\\Values";
    machine.registry.SetString(kMachine, key, L"Fits", std::wstring(499, L'x'));
    machine.registry.SetString(kMachine, key, L"TooLong", std::wstring(500, L'x'));
    machine.registry.SetValue(kMachine, key, L"Zero", Registry::kString, {});
    machine.registry.SetDword(kMachine, key, L"Dword", 4294967295u);
    machine.registry.SetValue(kMachine, key, L"Qword", Registry::kQword, {0, 0, 0, 0, 0, 1, 0, 0});
    machine.registry.SetValue(kMachine, key, L"Binary", Registry::kBinary, {1, 2, 3, 4});
    machine.registry.SetString(kMachine, key + L"\\info", L"Inner", L"from the subkey");
    machine.registry.SetString(kMachine, key, L"Outer", L"from the key");

    os::HKey opened = 0;
    ASSERT_EQ(machine.registry.OpenKey(kMachine, key, Registry::kKeyRead, opened), 0);
    struct Case {
        std::wstring subkey;
        std::wstring name;
        bool read;
        std::wstring text;
    };
    const Case cases[] = {
        {L"", L"Fits", true, std::wstring(499, L'x')},
        {L"", L"TooLong", false, L""},
        {L"", L"Zero", true, L""},
        {L"", L"Dword", true, L"4294967295"},
        {L"", L"Qword", true, L"1099511627776"},
        {L"", L"Binary", false, L""},
        {L"", L"Absent", false, L""},
        {L"info", L"Inner", true, L"from the subkey"},
        {L"missing", L"Outer", true, L"from the key"},
    };
    Log::Instance().SetLevel(Log::kError);
    for (const Case& c : cases) {
        machine.debugOutput.chunks.clear();
        std::wstring text = L"before";
        EXPECT_EQ(lib().ReadRegistryValue(opened, c.subkey, c.name, text), c.read) << c.name;
        EXPECT_EQ(text, c.text);
        const std::vector<std::wstring> expected =
            c.read ? std::vector<std::wstring>{}
                   : std::vector<std::wstring>{L"Can't handle Registry value for: " + c.name};
        EXPECT_EQ(machine.LogMessages(), expected);
    }
    machine.registry.CloseKey(opened);

    std::wstring text = L"before";
    EXPECT_FALSE(lib().ReadRegistryValue(0, L"", L"Fits", text));
    EXPECT_EQ(text, L"");
}

TEST_F(SetupLibTest, DisplayAdapterFromPropertiesAndDriverKey) {
    const std::wstring dev = L"0000";
    AddDevice(SetupApi::kDisplayClass, dev)
        .Text(SetupApi::kDeviceDescription, L"NVIDIA GeForce GT 520")
        .Texts(SetupApi::kHardwareId,
               {L"PCI\\VEN_10DE&DEV_1040&SUBSYS_83DD1043&REV_A1", L"PCI\\VEN_10DE&DEV_1040"});
    machine.registry.SetString(kMachine, kClass + dev, L"DriverVersion", L"9.18.13.697");
    SetDriverText(dev, L"\\info", L"ChipType", L"");
    SetDriverText(dev, L"", L"HardwareInformation.ChipType", L"GeForce GT 520");
    SetDriverText(dev, L"\\info", L"DACType", L"");
    SetDriverText(dev, L"", L"HardwareInformation.DacType", L"not consulted");
    SetDriverText(dev, L"", L"DriverDesc", L"NVIDIA GeForce GT 520 driver");
    SetDriverText(dev, L"\\info", L"VideoMemory", L"+268435456");
    Log::Instance().SetLevel(Log::kTrace);

    std::vector<GpuInfo> adapters;
    lib().GetGpuInfo(adapters);
    ASSERT_EQ(adapters.size(), 1u);
    GpuInfo& gpu = adapters[0];
    EXPECT_STREQ(gpu.name.ToString(), L"NVIDIA GeForce GT 520");
    EXPECT_STREQ(gpu.driverVersion.ToString(), L"9.18.13.697");
    EXPECT_STREQ(gpu.chipset.ToString(), L"GeForce GT 520");
    EXPECT_STREQ(gpu.dac.ToString(), L"");
    EXPECT_STREQ(gpu.driver.ToString(), L"NVIDIA GeForce GT 520 driver");
    EXPECT_EQ(gpu.totalRam.GetBytes(), 268435456u);
    EXPECT_STREQ(gpu.deviceID.ToString(), L"VEN_10DE&DEV_1040&SUBSYS_83DD1043&REV_A1");
    EXPECT_FALSE(gpu.twoPartId.Get());
    EXPECT_TRUE(Logged(L"ERR", L"Can't handle Registry value for: Ver"));
    EXPECT_TRUE(Logged(L"TRACE", L"DriverDesc: NVIDIA GeForce GT 520 driver"));
    EXPECT_TRUE(Logged(L"TRACE", L"Got device ID: PCI\\VEN_10DE&DEV_1040&SUBSYS_83DD1043&REV_A1"));
    EXPECT_FALSE(Logged(L"TRACE", L"Is Intel."));
    ASSERT_EQ(machine.setupApi.keyRequests.size(), 2u);
    EXPECT_EQ(machine.setupApi.keyRequests[0].keyType, SetupApi::kDeviceKey);
    EXPECT_EQ(machine.setupApi.keyRequests[1].keyType, SetupApi::kDriverKey);
    for (const auto& request : machine.setupApi.keyRequests) {
        EXPECT_EQ(request.scope, 1u);
        EXPECT_EQ(request.profile, 0u);
        EXPECT_EQ(request.access, 0x20019u);
    }
}

TEST_F(SetupLibTest, DisplayAdapterFallbacks) {
    // No "info" subkey, a short hardware identifier, a binary chip type, names from the keys.
    const std::wstring dev = L"0001";
    AddDevice(SetupApi::kDisplayClass, dev).Text(SetupApi::kHardwareId, L"PCI\\");
    machine.registry.SetString(kMachine, kEnum + dev, L"DeviceDesc", L"");
    machine.registry.SetString(kMachine, kEnum + dev, L"MatchingDeviceID", L"");
    SetDriverText(dev, L"", L"DeviceDesc", L"Adapter from the driver key");
    SetDriverText(dev, L"", L"MatchingDeviceID", L"pci\\ven_1002&dev_9442");
    machine.registry.SetDword(kMachine, kClass + dev, L"Ver", 7);
    SetDriverText(dev, L"", L"DACType", L"Internal");
    SetDriverText(dev, L"", L"ChipType", L"");
    machine.registry.SetValue(kMachine, kClass + dev, L"HardwareInformation.ChipType",
                              Registry::kBinary, {'R', 0, 'V', 0});
    machine.registry.SetDword(kMachine, kClass + dev, L"VideoMemory", 536870912);
    Log::Instance().SetLevel(Log::kTrace);

    std::vector<GpuInfo> adapters;
    lib().GetGpuInfo(adapters);
    ASSERT_EQ(adapters.size(), 1u);
    EXPECT_STREQ(adapters[0].name.ToString(), L"Adapter from the driver key");
    EXPECT_STREQ(adapters[0].driverVersion.ToString(), L"7");
    EXPECT_STREQ(adapters[0].dac.ToString(), L"Internal");
    EXPECT_STREQ(adapters[0].chipset.ToString(), L"");
    EXPECT_EQ(adapters[0].totalRam.GetBytes(), 536870912u);
    EXPECT_EQ(adapters[0].deviceID.GetVendor(), 0x1002u);
    EXPECT_EQ(adapters[0].deviceID.GetDevice(), 0x9442u);
    EXPECT_TRUE(Logged(L"ERR", L"Can't handle Registry value for: HardwareInformation.ChipType"));
    EXPECT_TRUE(Logged(L"TRACE", L"oops1"));
    EXPECT_TRUE(Logged(L"TRACE", L"oops2"));
}

TEST_F(SetupLibTest, AVideoMemoryWithAUnitEndsTheQueryKeepingEarlierAdapters) {
    for (const std::wstring dev : {L"0000", L"0001", L"0002"}) {
        AddDevice(SetupApi::kDisplayClass, dev).Text(SetupApi::kDeviceDescription, L"A" + dev);
    }
    SetDriverText(L"0001", L"\\info", L"VideoMemory", L"256MB");
    Log::Instance().SetLevel(Log::kError);

    std::vector<GpuInfo> adapters;
    lib().GetGpuInfo(adapters);
    ASSERT_EQ(adapters.size(), 1u);
    EXPECT_STREQ(adapters[0].name.ToString(), L"A0000");
    EXPECT_STREQ(adapters[0].driverVersion.ToString(), L"");  // neither value: left to DirectX
    EXPECT_TRUE(Logged(L"ERR", L"Error in GetGpuInfo"));
}

TEST_F(SetupLibTest, IntelAdaptersAskTheDriverInfHowItListsThem) {
    using Section = FakeSetupApi::InfSection;
    using Inf = std::vector<Section>;
    struct Case {
        const char* what;
        Inf inf;  // none: no such file
        bool twoPartId;
    };
    const std::vector<std::wstring> otherDevice = {L"%iSNBGM0%,iSNBM0,PCI\\VEN_8086&DEV_0106"};
    const Case cases[] = {
        {"two-part line",
         Inf{Section{L"Manufacturer", {L"Intel.Mfg,NTamd64"}},
             Section{L"Intel.Mfg.NTamd64",
                     {L"%iSNBGM0%,iSNBM0,PCI\\VEN_8086&DEV_0106",
                      L"%iSNBGD0%,iSNBD0,PCI\\VEN_8086&DEV_0102",
                      L"%iSNBGD0%,iSNBD0,PCI\\VEN_8086&DEV_0102&SUBSYS_00000000"}}},
         true},
        {"four-part line first",
         Inf{Section{L"Manufacturer", {L"Intel.Mfg"}},
             Section{L"Intel.Mfg",
                     {L"%iSNBGD0%,iSNBD0,pci\\ven_8086&dev_0102&subsys_21FA17AA",
                      L"%iSNBGD0%,iSNBD0,PCI\\VEN_8086&DEV_0102"}}},
         false},
        {"pair not listed",
         Inf{Section{L"Manufacturer", {L"Intel.Mfg"}}, Section{L"Intel.Mfg", otherDevice}}, true},
        {"models section missing",
         Inf{Section{L"Manufacturer", {L"Intel.Mfg,NTamd64"}},
             Section{L"Intel.Mfg.NTx86", otherDevice}},
         true},
        {"no manufacturer", Inf{Section{L"Version", {L"$Windows NT$"}}}, true},
        {"no file", Inf{}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        test::FreshProcessState();
        machine.setupApi = FakeSetupApi(machine.registry);
        machine.systemInfo.windowsDirectory = L"C:\\WINDOWS\\";
        AddDevice(SetupApi::kDisplayClass, L"0000")
            .Text(SetupApi::kHardwareId, L"PCI\\VEN_8086&DEV_0102&SUBSYS_21FA17AA&REV_09");
        SetDriverText(L"0000", L"", L"InfPath", L"oem12.inf");
        if (!c.inf.empty()) machine.setupApi.AddInf(L"C:\\WINDOWS\\inf\\oem12.inf", c.inf);
        Log::Instance().SetLevel(Log::kTrace);
        machine.debugOutput.chunks.clear();

        std::vector<GpuInfo> adapters;
        lib().GetGpuInfo(adapters);
        ASSERT_EQ(adapters.size(), 1u);
        EXPECT_EQ(adapters[0].twoPartId.Get(), c.twoPartId);
        ASSERT_EQ(machine.setupApi.infOpens.size(), 1u);
        EXPECT_EQ(machine.setupApi.infOpens[0].first, L"C:\\WINDOWS\\inf\\oem12.inf");
        EXPECT_EQ(machine.setupApi.infOpens[0].second, 2u);
        EXPECT_TRUE(Logged(L"TRACE", L"Is Intel."));
        EXPECT_TRUE(Logged(L"TRACE", L"Inf Path: oem12.inf"));
        EXPECT_TRUE(Logged(L"TRACE", c.twoPartId ? L"Got 2ID: Yes" : L"Got 2ID: No"));
        for (std::uint32_t capacity : machine.setupApi.lineTextCapacities) {
            EXPECT_EQ(capacity, 500u);
        }
        SetupLib::DestroyInstanceForTesting();
    }
}

TEST_F(SetupLibTest, TheInfComparisonLogsEachLineItReads) {
    machine.setupApi.AddInf(
        L"C:\\Windows\\inf\\a.inf",
        {FakeSetupApi::InfSection{L"Manufacturer", {L"M"}},
         FakeSetupApi::InfSection{L"M", {L"%x%,none", L"%y%,PCI\\VEN_8086&DEV_0102"}}});
    const DeviceID id(L"PCI\\VEN_8086&DEV_0102&SUBSYS_00000000&REV_00");
    Log::Instance().SetLevel(Log::kTrace);
    EXPECT_TRUE(lib().CheckInfForTwoPartId(id, L"a.inf"));
    auto messages = machine.LogMessages();
    messages.erase(std::remove_if(messages.begin(), messages.end(),
                                  [](const std::wstring& m) {
                                      return m.rfind(L"Entering", 0) == 0 ||
                                             m.rfind(L"Exiting", 0) == 0;
                                  }),
                   messages.end());
    EXPECT_EQ(messages, (std::vector<std::wstring>{L"Here 1", L"Here 2", L"Here 3", L"Here 4",
                                                   L"Compare 1: ", L"Compare 2: ven_8086&dev_0102",
                                                   L"Here 4", L"Compare 1: VEN_8086&DEV_0102",
                                                   L"Compare 2: ven_8086&dev_0102", L"Got 2ID"}));
}

TEST_F(SetupLibTest, OpticalDrivesAndDisks) {
    machine.setupApi.AddDevice(SetupApi::kCdromClass)
        .Text(SetupApi::kFriendlyName, L"")
        .Text(SetupApi::kDeviceDescription, L"CD-ROM Drive")
        .Texts(SetupApi::kHardwareId, {L"IDE\\CdRomHL-DT-ST_DVDRAM", L"GenCdRom"});
    machine.setupApi.AddDevice(SetupApi::kCdromClass)
        .Text(SetupApi::kFriendlyName, L"Generic DVDRW X24 ATA Device");
    machine.setupApi.AddDevice(SetupApi::kDiskDriveClass)
        .Text(SetupApi::kClassName, L"DiskDrive")
        .Text(SetupApi::kFriendlyName, L"ST3500418AS ATA Device")
        .Texts(SetupApi::kHardwareId, {L"IDE\\DiskST3500418AS_____________________CC38____"});
    machine.setupApi.AddDevice(SetupApi::kDiskDriveClass)
        .Text(SetupApi::kClassName, L"diskdrive")
        .Text(SetupApi::kFriendlyName, L"skipped");
    machine.setupApi.AddDevice(SetupApi::kDiskDriveClass);  // no class: skipped
    machine.setupApi.AddDevice(SetupApi::kDiskDriveClass)
        .Text(SetupApi::kClassName, L"DiskDrive")
        .Text(SetupApi::kHardwareId, L"1234567");
    Log::Instance().SetLevel(Log::kWarning);

    std::vector<CDRomInfo> drives;
    lib().GetCDRomInfo(drives);
    ASSERT_EQ(drives.size(), 2u);
    EXPECT_STREQ(drives[0].name.ToString(), L"CD-ROM Drive");
    EXPECT_EQ(drives[0].deviceId, L"IDE\\CdRomHL-DT-ST_DVDRAM");
    EXPECT_STREQ(drives[1].name.ToString(), L"Generic DVDRW X24 ATA Device");
    EXPECT_EQ(drives[1].deviceId, L"");
    EXPECT_TRUE(Logged(L"WARN", L"SetupDiGetDeviceRegistryProperty failed with error: 13"));
    EXPECT_TRUE(machine.setupApi.keyRequests.empty());

    std::vector<HardDriveInfo> disks;
    lib().GetHardDriveInfo(disks);
    ASSERT_EQ(disks.size(), 2u);
    EXPECT_STREQ(disks[0].model.ToString(), L"ST3500418AS ATA Device");
    EXPECT_STREQ(disks[0].firmware.ToString(), L"CC38____");
    EXPECT_STREQ(disks[1].model.ToString(), L"");
    EXPECT_STREQ(disks[1].firmware.ToString(), L"");
}

// The network service's tests cover an adapter with a friendly name, off bus 0, without a version.
TEST_F(SetupLibTest, NetworkAdapterNamedByItsDescription) {
    const std::wstring driverKey = L"{4D36E972-E325-11CE-BFC1-08002BE10318}\\0007";
    const std::wstring instance = L"{6F1C3B1A-1111-2222-3333-444455556666}";
    machine.setupApi.AddDevice(SetupApi::kNetClass)
        .Text(SetupApi::kDeviceDescription, L"Intel(R) 82567LM-3 Gigabit Network Connection")
        .Text(SetupApi::kHardwareId, L"PCI\\VEN_8086&DEV_10DE")
        .Text(SetupApi::kLocationInformation, L"PCI bus 0, device 25, function 0")
        .Text(SetupApi::kDriverKeyName, driverKey);
    machine.registry.SetString(kMachine, kClass + driverKey, L"DriverVersion", L"11.5.10.0");
    machine.registry.SetString(kMachine, kClass + driverKey, L"NetCFGInstanceID", instance);
    machine.registry.SetDword(
        kMachine,
        L"SYSTEM\\CurrentControlSet\\Control\\Network\\{4D36E972-E325-11CE-BFC1-08002BE10318}\\" +
            instance + L"\\Connection",
        L"MediaSubType", 2);

    std::vector<NetworkDeviceInfo> adapters;
    lib().GetNetworkDeviceInfo(adapters);
    ASSERT_EQ(adapters.size(), 1u);
    EXPECT_EQ(adapters[0].name, L"Intel(R) 82567LM-3 Gigabit Network Connection");
    EXPECT_EQ(adapters[0].hardwareId, L"PCI\\VEN_8086&DEV_10DE");
    EXPECT_TRUE(adapters[0].onPciBus0);
    EXPECT_EQ(adapters[0].driverVersion, L"11.5.10.0");
    EXPECT_FALSE(adapters[0].mediaType1);
    EXPECT_TRUE(adapters[0].mediaType2);
}

TEST_F(SetupLibTest, SoundDevicesTakeTheDriverVersionOfTheDriverKey) {
    AddDevice(SetupApi::kMediaClass, L"m0")
        .Text(SetupApi::kDeviceDescription, L"High Definition Audio Device")
        .Texts(SetupApi::kHardwareId, {L"HDAUDIO\\FUNC_01&VEN_1102&DEV_0011", L"HDAUDIO"});
    SetDriverText(L"m0", L"", L"DriverVersion", L"6.0.1.6242");
    FakeSetupApi::Device& keyless = machine.setupApi.AddDevice(SetupApi::kMediaClass);
    keyless.Text(SetupApi::kFriendlyName, L"Keyless");
    keyless.driverKey = FakeSetupApi::DeviceKey{kClass + L"m0", 0};
    Log::Instance().SetLevel(Log::kWarning);

    std::vector<SoundInfo> sounds;
    lib().GetSoundInfo(sounds);
    ASSERT_EQ(sounds.size(), 2u);
    EXPECT_EQ(sounds[0].name, L"High Definition Audio Device");
    EXPECT_EQ(sounds[0].hardwareId, L"HDAUDIO\\FUNC_01&VEN_1102&DEV_0011");
    EXPECT_EQ(sounds[0].driverVersion, L"6.0.1.6242");
    // Without a hardware key the driver key is not opened either.
    EXPECT_EQ(sounds[1].name, L"Keyless");
    EXPECT_EQ(sounds[1].driverVersion, L"");
    EXPECT_EQ(machine.LogMessages(),
              (std::vector<std::wstring>{
                  L"SetupDiGetDeviceRegistryProperty failed with error: 13",
                  L"SetupDiGetDeviceRegistryProperty failed with error: 13",
                  L"Error in call to SetupDiOpenDevRegKey for hardware key: 3758096900",
                  L"Error with calls to Setup library"}));
}

}  // namespace
}  // namespace rigel
