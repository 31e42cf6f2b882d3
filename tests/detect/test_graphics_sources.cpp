#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "detect/devices/direct_x_10.h"
#include "detect/devices/direct_x_11.h"
#include "detect/devices/direct_x_8.h"
#include "detect/devices/direct_x_9.h"
#include "detect/devices/dx_diag.h"
#include "detect/devices/dxgi.h"
#include "detect/devices/gpu_info.h"
#include "detect/graphics_libraries.h"
#include "diag/log.h"
#include "support/fake_machine.h"
#include "support/store_and_log_lookup.h"

namespace rigel {
namespace {

using os::FakeDiagnostics;
constexpr std::uint64_t kMB = 1024 * 1024;

using test::InstallGraphicsLibraries;
using test::Logged;

std::wstring Text(Value& value) { return value.ToString(); }

enum Source { kDirect3D8, kDirect3D9, kDxgi, kDirect3D10, kDirect3D11 };

void Query(Source source, std::vector<GpuInfo>& list) {
    if (source == kDirect3D8) DirectX_8::Instance().GetGpuInfo(list);
    if (source == kDirect3D9) DirectX_9::Instance().GetGpuInfo(list);
    if (source == kDxgi) DXGI::Instance().GetGpuInfo(list);
    if (source == kDirect3D10) DirectX_10::Instance().GetGpuInfo(list);
    if (source == kDirect3D11) DirectX_11::Instance().GetGpuInfo(list);
}

TEST(GraphicsSourceTest, MissingLibrariesAndEntryPointsLeaveTheSourceUninitialized) {
    struct Case {
        const char* what;
        std::wstring removedLibrary;
        std::string removedExport;
        Source source;
        std::wstring warning;
    };
    const Case cases[] = {
        {"no d3d8", L"d3d8.dll", "", kDirect3D8, L"Unable to open d3d8.dll"},
        {"no Direct3DCreate9", L"", "Direct3DCreate9", kDirect3D9,
         L"Unable to get all proc addresses from DirectX 9"},
        {"no dxgi for DXGI", L"dxgi.dll", "", kDxgi, L"Unable to open dxgi.dll"},
        {"no dxgi for Direct3D 10", L"dxgi.dll", "", kDirect3D10, L"Unable to open dxgi.dll"},
        {"no vertex profile", L"", "D3D10GetVertexShaderProfile", kDirect3D10,
         L"Unable to get all proc addresses from DirectX 10"},
        {"no CreateDXGIFactory1", L"", "CreateDXGIFactory1", kDirect3D11,
         L"Unable to get all proc addresses from DirectX 11"},
        {"no d3d11", L"d3d11.dll", "", kDirect3D11, L"Unable to open d3d11.dll"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        Log::Instance().SetLevel(Log::kTrace);
        InstallGraphicsLibraries(machine, c.removedLibrary, c.removedExport);
        machine.direct3D8.adapters.resize(1);
        machine.direct3D9.adapters.resize(1);
        machine.dxgi.adapters.resize(1);

        std::vector<GpuInfo> list(1);
        Query(c.source, list);
        EXPECT_EQ(list.size(), 1u);  // nothing appended, nothing cleared
        EXPECT_TRUE(Logged(machine, L"WARN  | " + c.warning));
        EXPECT_EQ(machine.libraries.LoadedCount(), 0u);
    }
}

TEST(GraphicsSourceTest, Direct3DReadsEachAdapterThroughItsOwnVersion) {
    struct Case {
        const char* what;
        bool nine;
        std::uint32_t sdkVersion;
        std::uint32_t behaviorFlags;
    };
    for (const Case& c :
         {Case{"Direct3D 8", false, 220, 0x50}, Case{"Direct3D 9", true, 32, 0x850}}) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        Log::Instance().SetLevel(Log::kTrace);
        InstallGraphicsLibraries(machine);
        os::FakeDirect3D& direct3D = c.nine ? machine.direct3D9 : machine.direct3D8;
        os::FakeDirect3D::Adapter adapter;
        adapter.identifier = {"Radeon HD \xE9", 0x1002,    0x6719, 0x1234ABCD, 0,
                              0x00080011,       0x000C24F5};
        adapter.caps = {0x00090000, 0xFFFE0200, 0xFFFF0300};
        adapter.textureMemory = 0x20000000;
        os::FakeDirect3D::Adapter failing;
        failing.identifierStatus = os::Direct3D::kInvalidCall;
        failing.capsStatus = os::Direct3D::kNotAvailable;
        failing.caps.devCaps = 0x00090000;
        failing.deviceStatus = os::Direct3D::kNotAvailable;
        direct3D.adapters = {adapter, failing};

        std::vector<GpuInfo> list;
        Query(c.nine ? kDirect3D9 : kDirect3D8, list);

        ASSERT_EQ(list.size(), 2u);
        GpuInfo& first = list[0];
        EXPECT_EQ(Text(first.name), L"Radeon HD \u00E9");
        EXPECT_EQ(Text(first.deviceID), L"VEN_1002&DEV_6719&SUBSYS_1234ABCD&REV_00");
        EXPECT_EQ(Text(first.driverVersion), L"8.17.12.9461");
        EXPECT_EQ(Text(first.pixelShader), L"3.0");
        EXPECT_EQ(Text(first.vertexShader), L"2.0");
        EXPECT_TRUE(first.hardwareRasterization.Get());
        EXPECT_TRUE(first.transformAndLighting.Get());
        EXPECT_TRUE(first.threeD.Get());
        EXPECT_EQ(first.totalRam.GetBytes(), 512 * kMB);
        EXPECT_EQ(first.dedicatedRam.GetBytes(), 0u);
        // A failing step leaves its fields as they started; the record is still appended.
        GpuInfo& second = list[1];
        EXPECT_EQ(Text(second.name), L"");
        EXPECT_EQ(Text(second.driverVersion), L"0.0");
        EXPECT_EQ(Text(second.pixelShader), L"0.0");
        EXPECT_FALSE(second.hardwareRasterization.Get());
        EXPECT_FALSE(second.threeD.Get());
        EXPECT_EQ(second.totalRam.GetBytes(), 0u);

        EXPECT_EQ(direct3D.sdkVersions, std::vector<std::uint32_t>{c.sdkVersion});
        EXPECT_EQ(direct3D.identifierFlags, (std::vector<std::uint32_t>{0, 0}));
        EXPECT_EQ(direct3D.capsDeviceTypes, (std::vector<std::uint32_t>{1, 1}));
        ASSERT_EQ(direct3D.deviceRequests.size(), 2u);
        const auto& request = direct3D.deviceRequests[0];
        EXPECT_EQ(request.deviceType, 1u);
        EXPECT_EQ(request.focusWindow, 0u);
        EXPECT_EQ(request.behaviorFlags, c.behaviorFlags);
        EXPECT_EQ(request.parameters.backBufferCount, 1u);
        EXPECT_EQ(request.parameters.swapEffect, 3u);
        EXPECT_EQ(request.parameters.deviceWindow, machine.display.foregroundWindow);
        EXPECT_TRUE(request.parameters.windowed);
        EXPECT_EQ(direct3D.LiveObjectCount(), 0u);
        EXPECT_TRUE(Logged(machine, L"TRACE | Device ID: 26393"));
        EXPECT_EQ(Logged(machine, L"TRACE | See 2 adapters."), c.nine);
    }
}

TEST(GraphicsSourceTest, Direct3DWithoutForegroundWindowOrObjectReadsLess) {
    test::FakeMachine machine;
    InstallGraphicsLibraries(machine);
    machine.direct3D9.adapters.resize(1);
    machine.direct3D9.adapters[0].identifier.description = "GPU";
    machine.direct3D9.adapters[0].textureMemory = 0x10000000;
    machine.display.foregroundWindow = 0;
    std::vector<GpuInfo> list;
    DirectX_9::Instance().GetGpuInfo(list);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(Text(list[0].name), L"GPU");
    EXPECT_TRUE(list[0].threeD.Get());
    EXPECT_EQ(list[0].totalRam.GetBytes(), 0u);

    machine.direct3D9.creates = false;
    DirectX_9::Instance().GetGpuInfo(list);
    EXPECT_EQ(list.size(), 1u);
}

os::FakeDxgi::Adapter DxgiAdapter(std::uint64_t video, std::uint64_t system, std::uint64_t shared) {
    os::FakeDxgi::Adapter adapter;
    adapter.description = {
        L"GeForce GTX 560", 0x10DE, 0x1201, 0x83B41043, 0xA1, video, system, shared};
    return adapter;
}

TEST(GraphicsSourceTest, DxgiSourcesShareTheDescriptionMemoryAndFailures) {
    for (Source source : {kDxgi, kDirect3D10, kDirect3D11}) {
        SCOPED_TRACE(source);
        test::FakeMachine machine;
        Log::Instance().SetLevel(Log::kTrace);
        InstallGraphicsLibraries(machine);
        machine.dxgi.adapters = {DxgiAdapter(512 * kMB, 0, 1024 * kMB),
                                 DxgiAdapter(64 * kMB, 32 * kMB, 0)};
        std::vector<GpuInfo> list;
        Query(source, list);

        ASSERT_EQ(list.size(), 2u);
        EXPECT_EQ(Text(list[0].name), L"GeForce GTX 560");
        EXPECT_EQ(Text(list[0].chipset), L"GeForce GTX 560");
        EXPECT_EQ(Text(list[0].deviceID), L"VEN_10DE&DEV_1201&SUBSYS_83B41043&REV_00");
        EXPECT_EQ(list[0].dedicatedRam.GetBytes(), 536870912u);
        EXPECT_EQ(list[0].sharedRam.GetBytes(), 1073741824u);
        EXPECT_EQ(list[0].totalRam.GetBytes(), 1610612736u);
        EXPECT_EQ(list[1].dedicatedRam.GetBytes(), 96 * kMB);
        EXPECT_EQ(list[1].totalRam.GetBytes(), 96 * kMB);
        EXPECT_EQ(machine.dxgi.LiveObjectCount(), 0u);
        const bool eleven = source == kDirect3D11;
        const auto& calls = machine.dxgi.calls;
        EXPECT_EQ(calls.front(), eleven ? "CreateFactory1" : "CreateFactory");
        EXPECT_EQ(std::count(calls.begin(), calls.end(), eleven ? "EnumAdapters1" : "EnumAdapters"),
                  3);
        EXPECT_EQ(std::count(calls.begin(), calls.end(), eleven ? "GetDesc1" : "GetDesc"), 2);
        EXPECT_EQ(Logged(machine, L"TRACE | Sub system ID: 2209615939"), eleven);

        // A failing enumeration keeps the adapters read before it; a failing factory adds none.
        machine.dxgi.adapters.resize(1);
        machine.dxgi.endStatus = static_cast<std::int32_t>(0x887A0001);  // invalid call
        list.clear();
        Query(source, list);
        EXPECT_EQ(list.size(), 1u);
        EXPECT_TRUE(Logged(machine, L"ERR   | Error while enumerating adapters: -2005270527"));
        machine.dxgi.factoryStatus = static_cast<std::int32_t>(0x80004005);
        Query(source, list);
        EXPECT_EQ(list.size(), 1u);
        EXPECT_EQ(Logged(machine, L"ERR   | Failed in call to CreateDXGIFactory: -2147467259"),
                  source != kDxgi);
    }
}

TEST(GraphicsSourceTest, Direct3D10TakesTheShaderProfiles) {
    test::FakeMachine machine;
    InstallGraphicsLibraries(machine);
    auto adapter = DxgiAdapter(kMB, 0, 0);
    adapter.pixelShaderProfile = "ps_4_1";
    adapter.vertexShaderProfile = "vs_4_0";
    auto noDevice = adapter;
    noDevice.device10Status = static_cast<std::int32_t>(0x887A0004);  // unsupported
    machine.dxgi.adapters = {adapter, noDevice};
    std::vector<GpuInfo> list;
    DirectX_10::Instance().GetGpuInfo(list);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(Text(list[0].pixelShader), L"4.1");
    EXPECT_EQ(Text(list[0].vertexShader), L"4.0");
    EXPECT_EQ(Text(list[0].directXVersion), L"0.0");
    EXPECT_EQ(Text(list[1].pixelShader), L"0.0");
    ASSERT_EQ(machine.dxgi.deviceRequests.size(), 2u);
    EXPECT_EQ(machine.dxgi.deviceRequests[0].driverType, 0u);
    EXPECT_EQ(machine.dxgi.deviceRequests[0].flags, 0u);
    EXPECT_EQ(machine.dxgi.deviceRequests[0].sdkVersion, 29u);
    EXPECT_EQ(machine.dxgi.LiveObjectCount(), 0u);
}

TEST(GraphicsSourceTest, Direct3D11FeatureLevelGivesVersionAndShaderModel) {
    struct Case {
        std::uint32_t highest;
        const wchar_t* directX;
        const wchar_t* shader;
    };
    const Case cases[] = {{0xB100, L"11.0", L"5.0"}, {0xB000, L"11.0", L"5.0"},
                          {0xA100, L"10.1", L"4.1"}, {0xA000, L"10.0", L"4.0"},
                          {0x9300, L"9.3", L"3.0"},  {0x9200, L"9.2", L"2.0b"},
                          {0x9100, L"9.1", L"2.0a"}, {0, L"0.0", L"0.0"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.highest);
        test::FakeMachine machine;
        InstallGraphicsLibraries(machine);
        auto adapter = DxgiAdapter(kMB, 0, 0);
        adapter.highestFeatureLevel = c.highest;
        machine.dxgi.adapters = {adapter};
        std::vector<GpuInfo> list;
        DirectX_11::Instance().GetGpuInfo(list);
        ASSERT_EQ(list.size(), 1u);
        EXPECT_EQ(Text(list[0].directXVersion), c.directX);
        EXPECT_EQ(Text(list[0].pixelShader), c.shader);
        EXPECT_EQ(Text(list[0].vertexShader), c.shader);
        const auto& request = machine.dxgi.deviceRequests.at(0);
        EXPECT_EQ(request.featureLevels,
                  (std::vector<std::uint32_t>{0xB000, 0xA100, 0xA000, 0x9300, 0x9200, 0x9100}));
        EXPECT_EQ(request.sdkVersion, 7u);
        EXPECT_EQ(request.driverType, 0u);
        EXPECT_EQ(machine.dxgi.LiveObjectCount(), 0u);
    }
}

FakeDiagnostics::Container& DisplayDevice(test::FakeMachine& machine, const std::wstring& name) {
    return machine.diagnostics.root.Child(L"DxDiag_DisplayDevices").Child(name);
}

TEST(GraphicsSourceTest, DxDiagReadsEachDisplayDevice) {
    test::FakeMachine machine;
    Log::Instance().SetLevel(Log::kTrace);
    auto& device = DisplayDevice(machine, L"0");
    device.Set(L"szDescription", FakeDiagnostics::Text(L"Intel(R) HD Graphics"));
    device.Set(L"szChipType", FakeDiagnostics::Text(L"Intel(R) HD Graphics Family"));
    device.Set(L"szKeyDeviceID",
               FakeDiagnostics::Text(L"PCI\\VEN_8086&DEV_0046&SUBSYS_00000000&REV_02"));
    device.Set(L"szDACType", FakeDiagnostics::Text(L"Internal"));
    device.Set(L"szDriverVersion", FakeDiagnostics::Text(L"8.15.10.2202"));
    device.Set(L"szDisplayMemoryEnglish", FakeDiagnostics::Text(L"1021.5 MB"));
    DisplayDevice(machine, L"1").Set(L"szDescription", FakeDiagnostics::Text(L"Second"));

    std::vector<GpuInfo> list;
    DXDiag::Instance().GetGpuInfo(list);

    EXPECT_EQ(machine.diagnostics.parameters.size, 24u);
    EXPECT_EQ(machine.diagnostics.parameters.headerVersion, 111u);
    EXPECT_FALSE(machine.diagnostics.parameters.allowWhqlChecks);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(Text(list[0].name), L"Intel(R) HD Graphics");
    EXPECT_EQ(Text(list[0].chipset), L"Intel(R) HD Graphics Family");
    EXPECT_EQ(Text(list[0].deviceID), L"VEN_8086&DEV_0046&SUBSYS_00000000&REV_02");
    EXPECT_EQ(Text(list[0].dac), L"Internal");
    EXPECT_EQ(Text(list[0].driverVersion), L"8.15.10.2202");
    EXPECT_EQ(list[0].totalRam.GetBytes(), 1073741824u);
    EXPECT_EQ(Text(list[1].name), L"Second");
    EXPECT_EQ(Text(list[1].driverVersion), L"0.0");
    EXPECT_EQ(list[1].totalRam.GetBytes(), 0u);
    // The tree is copied out on a thread of its own, so the provider and its containers are
    // released there.
    EXPECT_NE(machine.diagnostics.initializingThread, std::this_thread::get_id());
    EXPECT_EQ(machine.diagnostics.LiveObjectCount(), 0u);
    EXPECT_TRUE(Logged(machine, L"TRACE | Container: 0"));
    EXPECT_TRUE(Logged(machine, L"TRACE | Name: szDisplayMemoryEnglish"));
    EXPECT_TRUE(Logged(machine, L"TRACE | Getting Device ID: "));
    EXPECT_TRUE(
        Logged(machine, L"TRACE | Got Device ID: PCI\\VEN_8086&DEV_0046&SUBSYS_00000000&REV_02"));
}

TEST(GraphicsSourceTest, DxDiagTakesAtMostSixtyFourDevices) {
    test::FakeMachine machine;
    for (int index = 0; index < 70; ++index)
        DisplayDevice(machine, std::to_wstring(index))
            .Set(L"szDescription", FakeDiagnostics::Text(L"GPU " + std::to_wstring(index)));
    std::vector<GpuInfo> list;
    DXDiag::Instance().GetGpuInfo(list);
    ASSERT_EQ(list.size(), 64u);
    EXPECT_EQ(Text(list.back().name), L"GPU 63");
}

TEST(GraphicsSourceTest, DxDiagRoundsDisplayMemoryJustBelowAPowerOfTwo) {
    const std::pair<const wchar_t*, std::uint64_t> cases[] = {
        {L"1021.5 MB", 1024 * kMB},
        {L"1019 MB", 1019 * kMB},
        {L"253 MB", 256 * kMB},
        {L"2046 MB", 2046 * kMB},
        {L"0.5 MB", 2 * kMB},
        {L"n/a", 0},
        {L"", 0},
    };
    for (const auto& [text, bytes] : cases) {
        SCOPED_TRACE(testing::Message() << std::string(text, text + std::wcslen(text)));
        test::FakeMachine machine;
        DisplayDevice(machine, L"0").Set(L"szDisplayMemoryEnglish", FakeDiagnostics::Text(text));
        std::vector<GpuInfo> list;
        DXDiag::Instance().GetGpuInfo(list);
        ASSERT_EQ(list.size(), 1u);
        EXPECT_EQ(list[0].totalRam.GetBytes(), bytes);
    }
}

TEST(GraphicsSourceTest, DxDiagWithoutProviderAnswersNothing) {
    for (bool failCreate : {true, false}) {
        test::FakeMachine machine;
        DisplayDevice(machine, L"0").Set(L"szDescription", FakeDiagnostics::Text(L"GPU"));
        (failCreate ? machine.diagnostics.createStatus : machine.diagnostics.initializeStatus) =
            static_cast<std::int32_t>(0x80004005);
        std::vector<GpuInfo> list;
        DXDiag::Instance().GetGpuInfo(list);
        EXPECT_FALSE(DXDiag::Instance().IsInitialized());
        EXPECT_TRUE(list.empty());
        EXPECT_EQ(machine.diagnostics.LiveObjectCount(), 0u);
    }
}

TEST(GpuInfoTest, LogsHeadingAndEveryFieldInOrderAtTrace) {
    test::FakeMachine machine;
    GpuInfo info;
    info.name = L"GPU";
    info.dac = L"Internal";
    info.totalRam = Size(std::uint64_t{2048});
    info.transformAndLighting = true;
    info.twoPartId = true;
    LogGpuInfo(info, L"Setup API adapter:");
    EXPECT_TRUE(machine.LogMessages().empty());

    Log::Instance().SetLevel(Log::kTrace);
    LogGpuInfo(info, L"Setup API adapter:");
    EXPECT_EQ(machine.LogMessages(),
              (std::vector<std::wstring>{
                  L"Setup API adapter:", L"name: GPU",
                  L"deviceID: VEN_0000&DEV_0000&SUBSYS_00000000&REV_00", L"directXVersion: 0.0",
                  L"driverVersion: 0.0", L"driver: ", L"chipset: ", L"dac: Internal",
                  L"dedicated ram: 0.0 B", L"shared ram: 0.0 B", L"total ram: 2.0 KB",
                  L"pixel shader: 0.0", L"vertex shader: 0.0", L"transform and lighting: Yes",
                  L"hardware rasterization: No", L"3d: No", L"2ID: Yes"}));
}

}  // namespace
}  // namespace rigel
