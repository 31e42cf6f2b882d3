#include <gtest/gtest.h>

#ifdef _WIN32

#include <windows.h>

#include <initguid.h>
// The setup-class GUIDs are defined by this one file, after initguid.h.
#include <devguid.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "detect/devices/setup_lib.h"
#include "os/fake/fake_registry.h"
#include "os/fake/fake_setup_api.h"
#include "os/setup_api_closer.h"
#include "os/win32/win32_setup_api.h"
#include "support/fake_machine.h"

namespace rigel::os {
namespace {

const char* const kEntryPoints[] = {"SetupDiGetClassDevsW",
                                    "SetupDiEnumDeviceInfo",
                                    "SetupDiGetDeviceRegistryPropertyW",
                                    "SetupDiGetDeviceInstanceIdW",
                                    "SetupFindFirstLineW",
                                    "SetupFindNextLine",
                                    "SetupGetLineTextW",
                                    "SetupOpenInfFileW",
                                    "SetupCloseInfFile",
                                    "SetupDiOpenDevRegKey",
                                    "SetupDiDestroyDeviceInfoList"};

const char kInfText[] =
    "[Version]\r\n"
    "Signature=\"$Windows NT$\"\r\n"
    "\r\n"
    "[Manufacturer]\r\n"
    "%Mfg%=Rigel.Mfg,NTamd64\r\n"
    "\r\n"
    "[Rigel.Mfg.NTamd64]\r\n"
    "%Gfx% = Gfx_Install, PCI\\VEN_8086&DEV_0102\r\n"
    "%Gfx% = Gfx_Install, PCI\\VEN_8086&DEV_0102&SUBSYS_00000000\r\n"
    "%Gfx% = Gfx_Install, PCI\\VEN_8086&DEV_0106&SUBSYS_11112222\r\n"
    "\r\n"
    "[Strings]\r\n"
    "Mfg=\"Rigel Test\"\r\n"
    "Gfx=\"Test Graphics\"\r\n";

// The same INF as SetupGetLineTextW reads it.
std::vector<FakeSetupApi::InfSection> InfSections() {
    return {FakeSetupApi::InfSection{L"Version", {L"$Windows NT$"}},
            FakeSetupApi::InfSection{L"Manufacturer", {L"Rigel.Mfg,NTamd64"}},
            FakeSetupApi::InfSection{L"Rigel.Mfg.NTamd64",
                                     {L"Gfx_Install,PCI\\VEN_8086&DEV_0102",
                                      L"Gfx_Install,PCI\\VEN_8086&DEV_0102&SUBSYS_00000000",
                                      L"Gfx_Install,PCI\\VEN_8086&DEV_0106&SUBSYS_11112222"}},
            FakeSetupApi::InfSection{L"Strings", {L"Rigel Test", L"Test Graphics"}}};
}

std::filesystem::path WriteInf(const std::filesystem::path& path) {
    std::ofstream(path, std::ios::binary) << kInfText;
    return path;
}

HModule LoadAll(SetupApi& api) {
    HModule module = 0;
    std::uint32_t error = 0;
    EXPECT_TRUE(api.OpenLibrary(L"setupapi.dll", module, error));
    for (const char* name : kEntryPoints) EXPECT_TRUE(api.ResolveEntryPoint(module, name)) << name;
    return module;
}

// What the INF walk relies on, for the real Setup API and for the fake alike.
void InfContract(SetupApi& api, const std::wstring& path) {
    const UniqueSetupLibrary library(LoadAll(api), SetupApiCloser<&SetupApi::CloseLibrary>(api));
    HInf handle = 0;
    std::uint32_t error = 0;
    EXPECT_FALSE(api.OpenInfFile(path + L".missing", SetupApi::kInfStyleWin4, handle, error));
    EXPECT_EQ(handle, 0u);
    ASSERT_TRUE(api.OpenInfFile(path, SetupApi::kInfStyleWin4, handle, error)) << error;
    const UniqueInf inf(handle, SetupApiCloser<&SetupApi::CloseInfFile>(api));

    InfContext line;
    std::wstring text;
    std::uint32_t required = 0;
    ASSERT_TRUE(api.FindFirstLine(inf.get(), L"manufacturer", line, error));
    ASSERT_TRUE(api.GetLineText(line, 500, text, required, error));
    EXPECT_EQ(text, L"Rigel.Mfg,NTamd64");
    EXPECT_EQ(required, text.size() + 1);
    EXPECT_FALSE(api.GetLineText(line, 5, text, required, error));
    EXPECT_EQ(error, SetupApi::kErrorInsufficientBuffer);
    EXPECT_EQ(required, 18u);

    EXPECT_FALSE(api.FindFirstLine(inf.get(), L"Rigel.Mfg,NTamd64", line, error));
    EXPECT_EQ(error, SetupApi::kErrorLineNotFound);
    ASSERT_TRUE(api.FindFirstLine(inf.get(), L"Rigel.Mfg.NTamd64", line, error));
    ASSERT_TRUE(api.GetLineText(line, 500, text, required, error));
    EXPECT_EQ(text, L"Gfx_Install,PCI\\VEN_8086&DEV_0102");
    InfContext next;
    ASSERT_TRUE(api.FindNextLine(line, next, error));
    ASSERT_TRUE(api.GetLineText(next, 500, text, required, error));
    EXPECT_EQ(text, L"Gfx_Install,PCI\\VEN_8086&DEV_0102&SUBSYS_00000000");
    ASSERT_TRUE(api.FindNextLine(next, line, error));
    EXPECT_FALSE(api.FindNextLine(line, next, error));
    EXPECT_EQ(error, SetupApi::kErrorLineNotFound);
}

TEST(Win32SetupApiTest, TheClassIdentifiersAreThePublishedOnes) {
    auto same = [](const ClassGuid& mirror, const GUID& guid) {
        return mirror.data1 == guid.Data1 && mirror.data2 == guid.Data2 &&
               mirror.data3 == guid.Data3 &&
               std::equal(mirror.data4.begin(), mirror.data4.end(), guid.Data4);
    };
    EXPECT_TRUE(same(SetupApi::kDisplayClass, GUID_DEVCLASS_DISPLAY));
    EXPECT_TRUE(same(SetupApi::kCdromClass, GUID_DEVCLASS_CDROM));
    EXPECT_TRUE(same(SetupApi::kDiskDriveClass, GUID_DEVCLASS_DISKDRIVE));
    EXPECT_TRUE(same(SetupApi::kNetClass, GUID_DEVCLASS_NET));
    EXPECT_TRUE(same(SetupApi::kScsiAdapterClass, GUID_DEVCLASS_SCSIADAPTER));
    EXPECT_TRUE(same(SetupApi::kMediaClass, GUID_DEVCLASS_MEDIA));
}

// A missing library and entry point are told; Wine's display adapter answers the size protocol.
TEST(Win32SetupApiTest, WinesDisplayAdapterAnswersTheSizeProtocol) {
    Win32SetupApi api;
    HModule missing = 0;
    std::uint32_t error = 0;
    EXPECT_FALSE(api.OpenLibrary(L"no-such-library.dll", missing, error));
    EXPECT_EQ(error, SetupApi::kErrorModNotFound);
    const UniqueSetupLibrary library(LoadAll(api), SetupApiCloser<&SetupApi::CloseLibrary>(api));
    EXPECT_FALSE(api.ResolveEntryPoint(library.get(), "SetupDiNoSuchCall"));
    HDevInfo handle = 0;
    ASSERT_TRUE(api.GetClassDevices(SetupApi::kDisplayClass, SetupApi::kPresent, handle, error));
    const UniqueDeviceSet set(handle, SetupApiCloser<&SetupApi::DestroyDeviceInfoList>(api));

    DeviceInfoData device;
    device.size = SetupApi::kDeviceInfoSize;
    ASSERT_TRUE(api.EnumDeviceInfo(set.get(), 0, device, error));
    EXPECT_EQ(device.classGuid, SetupApi::kDisplayClass);
    DeviceInfoData past;
    past.size = SetupApi::kDeviceInfoSize;
    EXPECT_FALSE(api.EnumDeviceInfo(set.get(), 1, past, error));
    EXPECT_EQ(error, SetupApi::kErrorNoMoreItems);

    std::uint32_t type = 0;
    std::uint32_t required = 0;
    EXPECT_FALSE(api.GetDeviceRegistryProperty(set.get(), device, SetupApi::kHardwareId, type,
                                               nullptr, 0, required, error));
    EXPECT_EQ(error, SetupApi::kErrorInsufficientBuffer);
    ASSERT_GT(required, 0u);
    std::vector<std::uint8_t> buffer(required);
    ASSERT_TRUE(api.GetDeviceRegistryProperty(set.get(), device, SetupApi::kHardwareId, type,
                                              buffer.data(), required, required, error));
    EXPECT_EQ(type, Registry::kMultiString);
    const std::vector<std::uint8_t> prefix = FakeRegistry::Utf16(L"PCI\\VEN_0000&DEV_0000");
    EXPECT_TRUE(std::equal(prefix.begin(), prefix.end(), buffer.begin()));

    for (std::uint32_t property : {SetupApi::kFriendlyName, SetupApi::kLocationInformation}) {
        EXPECT_FALSE(api.GetDeviceRegistryProperty(set.get(), device, property, type, nullptr, 0,
                                                   required, error));
        EXPECT_EQ(error, SetupApi::kErrorInvalidData) << property;
    }
}

TEST(Win32SetupApiTest, InfFilesReadAsTheFakeReadsThem) {
    const std::filesystem::path path =
        WriteInf(std::filesystem::temp_directory_path() / "rigel_setup_api.inf");
    Win32SetupApi real;
    InfContract(real, path.wstring());
    std::filesystem::remove(path);

    FakeRegistry registry;
    FakeSetupApi fake(registry);
    fake.AddInf(L"C:\\temp\\models.inf", InfSections());
    InfContract(fake, L"C:\\temp\\models.inf");
}

TEST(Win32SetupApiTest, TheSetupSourceReadsWinesMachine) {
    test::FreshProcessState();
    SetupLib& lib = SetupLib::Instance();
    std::vector<GpuInfo> adapters;
    lib.GetGpuInfo(adapters);
    ASSERT_EQ(adapters.size(), 1u);
    EXPECT_STREQ(adapters[0].name.ToString(), L"Wine Adapter");
    EXPECT_EQ(adapters[0].deviceID.GetVendor(), 0u);
    EXPECT_FALSE(adapters[0].twoPartId.Get());
    std::vector<CDRomInfo> drives;
    lib.GetCDRomInfo(drives);
    EXPECT_TRUE(drives.empty());

    // The driver INF check against a file in the Windows inf folder.
    wchar_t folder[MAX_PATH] = {};
    ASSERT_GT(GetWindowsDirectoryW(folder, MAX_PATH), 0u);
    const std::filesystem::path inf =
        WriteInf(std::filesystem::path(folder) / "inf" / "rigel_two_part.inf");
    EXPECT_TRUE(lib.CheckInfForTwoPartId(DeviceID(0x8086, 0x0102, 0), L"rigel_two_part.inf"));
    EXPECT_FALSE(lib.CheckInfForTwoPartId(DeviceID(0x8086, 0x0106, 0), L"rigel_two_part.inf"));
    EXPECT_TRUE(lib.CheckInfForTwoPartId(DeviceID(0x8086, 0x0166, 0), L"rigel_two_part.inf"));
    std::filesystem::remove(inf);
    test::FreshProcessState();
}

}  // namespace
}  // namespace rigel::os

#endif
