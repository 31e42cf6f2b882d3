#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "detect/devices/gpu.h"
#include "detect/graphics_libraries.h"
#include "detect/stored_values.h"
#include "diag/log.h"
#include "support/fake_machine.h"
#include "support/store_and_log_lookup.h"

namespace rigel {
namespace {

using os::FakeDiagnostics;
using os::SetupApi;
using test::Logged;
constexpr std::uint64_t kMB = 1024 * 1024;

// The stored text of group#index, or "(none)".
std::wstring StoredText(std::uint32_t group, std::uint32_t index) {
    return test::StoredText(std::to_wstring(group) + L"#" + std::to_wstring(index));
}

void Detect() {
    GPU gpu;
    EXPECT_TRUE(gpu.Detect());
}

// The texts stored for the adapter at index under each of the groups, in their order.
std::vector<std::wstring> Texts(std::uint32_t index, const std::vector<std::uint32_t>& groups) {
    std::vector<std::wstring> texts;
    for (std::uint32_t group : groups) texts.push_back(StoredText(group, index));
    return texts;
}

void AddSetupAdapter(test::FakeMachine& machine, const std::wstring& hardwareId,
                     const std::wstring& description = L"") {
    machine.setupApi.AddDevice(SetupApi::kDisplayClass)
        .Text(SetupApi::kDeviceDescription, description)
        .Text(SetupApi::kHardwareId, hardwareId);
}

os::Direct3DAdapterIdentifier& AddDirect3D9(test::FakeMachine& machine, std::uint32_t vendor,
                                            std::uint32_t device, std::uint64_t textureMemory) {
    os::FakeDirect3D::Adapter adapter;
    adapter.identifier.description = "Direct3D 9 description";
    adapter.identifier.vendorId = vendor;
    adapter.identifier.deviceId = device;
    adapter.caps = {0x00090000, 0xFFFE0300, 0xFFFF0300};
    adapter.textureMemory = static_cast<std::uint32_t>(textureMemory);
    machine.direct3D9.adapters.push_back(adapter);
    return machine.direct3D9.adapters.back().identifier;
}

// Seen by DXGI and, with their libraries present, by the Direct3D 10 and 11 sources.
void AddDxgi(test::FakeMachine& machine, std::uint32_t vendor, std::uint32_t device,
             std::uint64_t dedicated, std::uint64_t shared) {
    os::FakeDxgi::Adapter adapter;
    adapter.description = {L"DXGI description", vendor, device, 0, 0, dedicated, 0, shared};
    machine.dxgi.adapters.push_back(adapter);
}

class GpuTest : public ::testing::Test {
  protected:
    GpuTest() { Log::Instance().SetLevel(Log::kTrace); }

    test::FakeMachine machine;
};

TEST_F(GpuTest, ReportsOnlySetupAdaptersWithVendorAndDeviceInTheirFixedOrder) {
    test::InstallGraphicsLibraries(machine);
    AddSetupAdapter(machine, L"PCI\\VEN_10DE&DEV_1201&SUBSYS_83B41043&REV_A1", L"GeForce GTX 560");
    AddSetupAdapter(machine, L"ROOT\\BasicDisplay", L"Basic Display Adapter");
    auto& geForce = AddDirect3D9(machine, 0x10DE, 0x1201, 0);
    geForce.subSysId = 0x83B41043;
    // The Setup API read no driver version, so Direct3D's is taken.
    geForce.driverVersionHigh = 0x00080011;
    geForce.driverVersionLow = 0x000C24F5;
    AddDirect3D9(machine, 0x1002, 0x6719, 256 * kMB);  // seen only by Direct3D: never reported

    Detect();

    EXPECT_EQ(test::Stored(),
              (std::vector<std::wstring>{L"71064#0=GeForce GTX 560",
                                         L"71105#0=",
                                         L"71327#0=",
                                         L"71287#0=Yes",
                                         L"71085#0=Yes",
                                         L"71286#0=Yes",
                                         L"71087#0=0.0 B",
                                         L"71291#0=0.0 B",
                                         L"71285#0=0.0 B",
                                         L"71278#0=Yes",
                                         L"71065#0=Yes",
                                         L"71336#0=8.17.12.9461",
                                         L"71328#0=",
                                         L"71292#0=3.0",
                                         L"71089#0=3.0",
                                         L"71290#0=3.0",
                                         L"71086#0=3.0",
                                         L"71277#0=No",
                                         L"71288#0=No",
                                         L"71289#0=Yes",
                                         L"71231#0=VEN_10DE&DEV_1201&SUBSYS_83B41043&REV_A1",
                                         L"71224#0=1201",
                                         L"71333#0=83B4",
                                         L"71223#0=10DE",
                                         L"71334#0=1043",
                                         L"71459#0=No",
                                         L"71378#0=No"}));
    EXPECT_TRUE(Logged(machine, L"TRACE | Got 2 adapters from SetupLib."));
    EXPECT_TRUE(Logged(machine, L"TRACE | Got 1 adapters after the filter."));
    EXPECT_TRUE(Logged(machine, L"TRACE | Got 2 adapters from DirectX 9."));
    EXPECT_TRUE(Logged(machine, L"TRACE | Got 0 adapters from DXDiag."));
    EXPECT_TRUE(Logged(machine, L"TRACE | Final GPU values: "));
    EXPECT_TRUE(
        Logged(machine, L"TRACE | GPU intel: 0 from VEN_10DE&DEV_1201&SUBSYS_83B41043&REV_A1"));
    EXPECT_TRUE(Logged(machine, L"TRACE | GPU final value: 10DE"));
}

TEST(GpuMergeTest, MemoryTakesTheLargestFigureAndATotalAloneBecomesDedicated) {
    struct Case {
        const char* what;
        std::uint64_t dxgiDedicated;  // 0: DXGI does not see the adapter
        std::uint64_t dxgiShared;
        std::uint64_t textureMemory;
        std::uint64_t dedicated, shared, total;
    };
    const Case cases[] = {
        {"DXGI 1 GB dedicated, Direct3D 9 768 MB", 1024 * kMB, 512 * kMB, 768 * kMB, 1024 * kMB,
         512 * kMB, 1536 * kMB},
        {"DXGI total below the texture memory", 256 * kMB, 0, 768 * kMB, 256 * kMB, 0, 768 * kMB},
        {"texture memory alone", 0, 0, 768 * kMB, 768 * kMB, 0, 768 * kMB},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine fresh;
        test::InstallGraphicsLibraries(fresh);
        AddSetupAdapter(fresh, L"PCI\\VEN_1002&DEV_6719");
        AddDirect3D9(fresh, 0x1002, 0x6719, c.textureMemory);
        if (c.dxgiDedicated != 0) AddDxgi(fresh, 0x1002, 0x6719, c.dxgiDedicated, c.dxgiShared);
        Detect();
        EXPECT_EQ(Size(StoredText(71285, 0)).GetBytes(), c.dedicated);
        EXPECT_EQ(Size(StoredText(71291, 0)).GetBytes(), c.shared);
        EXPECT_EQ(Size(StoredText(71087, 0)).GetBytes(), c.total);
    }
}

TEST_F(GpuTest, AnAdapterNoSourceSawBorrowsFromItsSiblingsOnly) {
    test::InstallGraphicsLibraries(machine);
    AddSetupAdapter(machine, L"PCI\\VEN_8086&DEV_0102", L"HD Graphics");       // borrows from 0116
    AddSetupAdapter(machine, L"PCI\\VEN_8086&DEV_0116", L"HD Graphics 3000");  // seen by Direct3D 9
    AddSetupAdapter(machine, L"PCI\\VEN_8086&DEV_0202", L"Other family");      // nothing to borrow
    AddDirect3D9(machine, 0x8086, 0x0116, 512 * kMB);

    Detect();

    // Its own texts stay; the sibling's figures and flags are taken.
    EXPECT_EQ(
        Texts(0, {71064, 71290, 71292, 71087, 71285, 71286, 71459, 71231, 71288}),
        (std::vector<std::wstring>{L"HD Graphics", L"3.0", L"3.0", L"512.0 MB", L"512.0 MB", L"Yes",
                                   L"Yes", L"VEN_8086&DEV_0102&SUBSYS_00000000&REV_00", L"Yes"}));
    EXPECT_EQ(StoredText(71459, 1), L"No");  // matched itself, so it borrows nothing
    EXPECT_EQ(Texts(2, {71290, 71087, 71286, 71459}),
              (std::vector<std::wstring>{L"0.0", L"0.0 B", L"No", L"No"}));
}

TEST(GpuMergeTest, TheMergeOrderDecidesWhichTextWins) {
    struct Case {
        const char* what;
        std::set<std::wstring> missingLibraries;
        std::wstring chipset;
    };
    // Direct3D 10 and 11 put their description in the chip type and come before DXDiag.
    const Case cases[] = {
        {"Direct3D 10 present", {}, L"DXGI description"},
        {"only DXDiag and DXGI", {L"d3d10.dll", L"d3d11.dll"}, L"DxDiag chip"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine fresh;
        test::InstallGraphicsLibraries(fresh, c.missingLibraries);
        AddSetupAdapter(fresh, L"PCI\\VEN_10DE&DEV_0DE1");
        AddDxgi(fresh, 0x10DE, 0x0DE1, 1024 * kMB, 0);
        auto& device = fresh.diagnostics.root.Child(L"DxDiag_DisplayDevices").Child(L"0");
        device.Set(L"szKeyDeviceID", FakeDiagnostics::Text(L"PCI\\VEN_10DE&DEV_0DE1"));
        device.Set(L"szChipType", FakeDiagnostics::Text(L"DxDiag chip"));
        device.Set(L"szDescription", FakeDiagnostics::Text(L"DxDiag description"));
        Detect();
        EXPECT_EQ(StoredText(71105, 0), c.chipset);
        // Direct3D 9 is not in the picture, so the description is DXDiag's either way.
        EXPECT_EQ(StoredText(71064, 0),
                  c.missingLibraries.empty() ? L"DXGI description" : L"DxDiag description");
    }
}

TEST(GpuMergeTest, MergeKeepsPresentTextsAndTakesHigherVersionsAndFlags) {
    GpuInfo record;
    record.deviceID = DeviceID(0x8086, 0x0102, 0);
    GpuInfo sibling;
    sibling.twoPartId = true;
    sibling.name = L"sibling";
    sibling.driverVersion = L"8.15.10.2418";
    sibling.pixelShader = L"2.0";
    MergeGpuInfo(record, sibling);
    EXPECT_TRUE(record.twoPartId.Get());
    EXPECT_EQ(std::wstring(record.name.ToString()), L"sibling");
    EXPECT_EQ(std::wstring(record.driverVersion.ToString()), L"0.0");  // present, so kept
    EXPECT_EQ(std::wstring(record.pixelShader.ToString()), L"2.0");

    GpuInfo older;
    older.pixelShader = L"1.4";
    older.driverVersion = Version(L"");
    older.name = L"later";
    MergeGpuInfo(older, record);
    EXPECT_EQ(std::wstring(older.pixelShader.ToString()), L"2.0");
    EXPECT_EQ(std::wstring(older.driverVersion.ToString()), L"0.0");  // empty takes any text
    EXPECT_EQ(std::wstring(older.name.ToString()), L"later");
    EXPECT_STREQ(older.deviceID.ToString(), L"VEN_8086&DEV_0102&SUBSYS_00000000&REV_00");
}

TEST_F(GpuTest, WithEverySourceFailingNothingIsStoredAndNoErrorLogged) {
    machine.setupApi.loadError = 126;
    Detect();
    EXPECT_TRUE(test::Stored().empty());
    EXPECT_FALSE(Logged(machine, L"ERR   | Error in GPU::Detect"));
    EXPECT_TRUE(Logged(machine, L"TRACE | Got 0 adapters after the filter."));
}

}  // namespace
}  // namespace rigel
