#include <gtest/gtest.h>

#include <cstdint>
#include <cwchar>
#include <string>
#include <vector>

#include "os/display.h"
#include "os/fake/fake_diagnostics.h"
#include "os/fake/fake_display.h"
#include "os/fake/fake_libraries.h"
#include "os/library_freer.h"
#ifdef _WIN32
#include <chrono>
#include <cstdio>

#include "detect/devices/direct_x_10.h"
#include "detect/devices/direct_x_11.h"
#include "detect/devices/direct_x_8.h"
#include "detect/devices/direct_x_9.h"
#include "detect/devices/dx_diag.h"
#include "detect/devices/dxgi.h"
#include "detect/devices/graphics.h"
#include "detect/devices/monitor.h"
#include "detect/stored_values.h"
#include "os/win32/com_apartment.h"
#include "os/win32/win32_code_page.h"
#include "os/win32/win32_diagnostics.h"
#include "os/win32/win32_direct3d.h"
#include "os/win32/win32_display.h"
#include "os/win32/win32_dxgi.h"
#include "os/win32/win32_libraries.h"
#include "support/fake_machine.h"
#endif

namespace rigel::os {
namespace {

using Object = UniqueComObject<Diagnostics>;

Object Own(Diagnostics& diagnostics, ComObject object) {
    return Object(object, ComReleaser<Diagnostics>(diagnostics));
}

// The display device's texts the probes read, all present on Wine's machine.
constexpr const wchar_t* kDeviceTexts[] = {L"szDescription", L"szDriverVersion",
                                           L"szKeyDeviceID", L"szDisplayMemoryEnglish",
                                           L"szChipType",    L"szDACType"};

Object Child(Diagnostics& diagnostics, const Object& parent, const std::wstring& name) {
    ComObject child = 0;
    EXPECT_EQ(diagnostics.GetChildContainer(parent.get(), name, child), Diagnostics::kOk) << "";
    return Own(diagnostics, child);
}

// The diagnostics tree as the probes read it, asked of one implementation: Wine's provider, and
// the fake given the part of the tree that Wine's machine has.
void CheckDiagnosticsContract(Diagnostics& diagnostics) {
    ComObject created = 0;
    ASSERT_EQ(diagnostics.CreateProvider(created), Diagnostics::kOk);
    const Object provider = Own(diagnostics, created);
    ASSERT_EQ(diagnostics.Initialize(provider.get(), DiagnosticsParameters{24, 111, false}),
              Diagnostics::kOk);
    ComObject rootObject = 0;
    ASSERT_EQ(diagnostics.GetRootContainer(provider.get(), rootObject), Diagnostics::kOk);
    const Object root = Own(diagnostics, rootObject);

    const Object system = Child(diagnostics, root, L"DxDiag_SystemInfo");
    ASSERT_TRUE(system);
    DiagnosticsValue value;
    ASSERT_EQ(diagnostics.GetProperty(system.get(), L"dwDirectXVersionMajor", value),
              Diagnostics::kOk);
    EXPECT_EQ(value.type, Diagnostics::kVtUi4);
    EXPECT_EQ(value.number, 9u);
    EXPECT_EQ(value.text, L"9");
    ASSERT_EQ(diagnostics.GetProperty(system.get(), L"dwDirectXVersionMinor", value),
              Diagnostics::kOk);
    EXPECT_EQ(value.number, 0u);
    ASSERT_EQ(diagnostics.GetProperty(system.get(), L"szDirectXVersionLetter", value),
              Diagnostics::kOk);
    EXPECT_EQ(value.type, Diagnostics::kVtBstr);
    EXPECT_EQ(value.text, L"c");
    EXPECT_LT(diagnostics.GetProperty(system.get(), L"szNoSuchProperty", value), 0);

    ComObject missing = 0;
    EXPECT_LT(diagnostics.GetChildContainer(root.get(), L"DxDiag_NoSuchContainer", missing), 0);
    EXPECT_EQ(missing, 0u);

    const Object devices = Child(diagnostics, root, L"DxDiag_DisplayDevices");
    ASSERT_TRUE(devices);
    std::uint32_t count = 0;
    ASSERT_EQ(diagnostics.GetNumberOfChildContainers(devices.get(), count), Diagnostics::kOk);
    ASSERT_EQ(count, 1u);
    std::wstring name;
    EXPECT_EQ(diagnostics.EnumChildContainerNames(devices.get(), 0, 256, name), Diagnostics::kOk);
    EXPECT_EQ(name, L"0");
    EXPECT_EQ(diagnostics.EnumChildContainerNames(devices.get(), 0, 1, name),
              Diagnostics::kInsufficientBuffer);
    EXPECT_LT(diagnostics.EnumChildContainerNames(devices.get(), 1, 256, name), 0);

    const Object device = Child(diagnostics, devices, name);
    ASSERT_TRUE(device);
    std::uint32_t properties = 0;
    ASSERT_EQ(diagnostics.GetNumberOfProps(device.get(), properties), Diagnostics::kOk);
    EXPECT_GE(properties, 6u);
    std::wstring property;
    EXPECT_EQ(diagnostics.EnumPropNames(device.get(), 0, 100, property), Diagnostics::kOk);
    EXPECT_FALSE(property.empty());
    EXPECT_EQ(diagnostics.EnumPropNames(device.get(), 0, 1, property),
              Diagnostics::kInsufficientBuffer);
    for (const wchar_t* text : kDeviceTexts) {
        EXPECT_EQ(diagnostics.GetProperty(device.get(), text, value), Diagnostics::kOk)
            << std::string(text, text + std::wcslen(text));
        EXPECT_EQ(value.type, Diagnostics::kVtBstr);
    }
}

void SetUpWinesTree(FakeDiagnostics& diagnostics) {
    auto& system = diagnostics.root.Child(L"DxDiag_SystemInfo");
    system.Set(L"dwDirectXVersionMajor", FakeDiagnostics::Unsigned(9));
    system.Set(L"dwDirectXVersionMinor", FakeDiagnostics::Unsigned(0));
    system.Set(L"szDirectXVersionLetter", FakeDiagnostics::Text(L"c"));
    auto& device = diagnostics.root.Child(L"DxDiag_DisplayDevices").Child(L"0");
    for (const wchar_t* text : kDeviceTexts) device.Set(text, FakeDiagnostics::Text(L"text"));
}

// The screen of Wine's headless machine.
void CheckDisplayContract(Display& display) {
    const DeviceContext screen = display.GetScreenDC();
    ASSERT_NE(screen, 0u);
    EXPECT_EQ(display.GetDeviceCaps(screen, Display::kHorizontalResolution), 1024);
    EXPECT_EQ(display.GetDeviceCaps(screen, Display::kVerticalResolution), 768);
    EXPECT_EQ(display.GetDeviceCaps(screen, Display::kBitsPerPixel), 32);
    EXPECT_EQ(display.ReleaseScreenDC(screen), 1);

    std::vector<MonitorHandle> monitors;
    ASSERT_TRUE(display.EnumDisplayMonitors(monitors));
    ASSERT_EQ(monitors.size(), 1u);
    MonitorInfo info;
    ASSERT_TRUE(display.ReadMonitorInfo(monitors[0], info));
    const ScreenRect& area = info.monitor;
    EXPECT_EQ((std::vector<std::int32_t>{area.left, area.top, area.right, area.bottom}),
              (std::vector<std::int32_t>{0, 0, 1024, 768}));
    EXPECT_EQ(info.flags, 1u);
    EXPECT_EQ(info.device, L"\\\\.\\DISPLAY1");
}

constexpr std::pair<const wchar_t*, const char*> kGraphicsExports[] = {
    {L"d3d8.dll", "Direct3DCreate8"},
    {L"d3d9.dll", "Direct3DCreate9"},
    {L"dxgi.dll", "CreateDXGIFactory1"},
    {L"d3d10.dll", "D3D10GetVertexShaderProfile"},
    {L"d3d11.dll", "D3D11CreateDevice"}};

UniqueModule Load(Libraries& libraries, const wchar_t* name) {
    HModule module = 0;
    std::uint32_t error = 0;
    libraries.Load(name, module, error);
    return UniqueModule(module, LibraryFreer(libraries));
}

// The graphics libraries load by name and have the entry points the sources call; a missing
// library or export is checked with the loader.
void CheckLibraryContract(Libraries& libraries) {
    for (const auto& [name, entry] : kGraphicsExports) {
        const UniqueModule library = Load(libraries, name);
        ASSERT_TRUE(library) << std::string(entry);
        EXPECT_NE(libraries.FindExport(library.get(), entry), nullptr) << std::string(entry);
    }
}

// The fakes given what Wine's machine has, each leaving nothing open behind.
TEST(FakeGraphicsTest, AnswersAsWinesMachineDoes) {
    FakeDiagnostics diagnostics;
    SetUpWinesTree(diagnostics);
    CheckDiagnosticsContract(diagnostics);
    EXPECT_EQ(diagnostics.LiveObjectCount(), 0u);
    FakeDisplay display;
    CheckDisplayContract(display);
    EXPECT_EQ(display.LiveContextCount(), 0u);
    FakeLibraries libraries;
    static void (*const noOp)() = [] {};
    for (const auto& [name, entry] : kGraphicsExports) libraries.AddLibrary(name, {{entry, noOp}});
    CheckLibraryContract(libraries);
    EXPECT_EQ(libraries.LoadedCount(), 0u);
}

#ifdef _WIN32
TEST(Win32GraphicsTest, WinesMachineAnswersTheContracts) {
    ComApartment apartment;
    ASSERT_GE(apartment.Status(), 0);
    Win32Diagnostics diagnostics;
    CheckDiagnosticsContract(diagnostics);
    Win32Display display;
    CheckDisplayContract(display);
    Win32Libraries libraries;
    CheckLibraryContract(libraries);
}

TEST(Win32GraphicsTest, ThreadAnsiIsWindows1252) {
    Win32CodePage codePage;
    EXPECT_EQ(codePage.ThreadAnsiToWide("Radeon \xE9\x80"), L"Radeon \u00E9\u20AC");
    EXPECT_EQ(codePage.ThreadAnsiToWide(""), L"");
}

// Without a display Wine's Direct3D and DXGI have nothing to offer: the libraries load, but
// Direct3D makes no object and DXGI no factory. Pinned so that a change in Wine shows.
TEST(Win32GraphicsTest, DirectXWithoutADisplayMakesNoObject) {
    ComApartment apartment;
    Win32Libraries loader;
    const UniqueModule d3d8 = Load(loader, L"d3d8.dll");
    const UniqueModule d3d9 = Load(loader, L"d3d9.dll");
    const UniqueModule dxgiLibrary = Load(loader, L"dxgi.dll");
    EXPECT_EQ(MakeWin32Direct3D8()->Create(loader.FindExport(d3d8.get(), "Direct3DCreate8"), 220),
              0u);
    EXPECT_EQ(MakeWin32Direct3D9()->Create(loader.FindExport(d3d9.get(), "Direct3DCreate9"), 32),
              0u);
    Win32Dxgi dxgi;
    constexpr auto kUnsupported = static_cast<std::int32_t>(0x887A0004);  // DXGI_ERROR_UNSUPPORTED
    ComObject factory = 1;
    EXPECT_EQ(
        dxgi.CreateFactory(loader.FindExport(dxgiLibrary.get(), "CreateDXGIFactory"), factory),
        kUnsupported);
    EXPECT_EQ(factory, 0u);
    EXPECT_EQ(
        dxgi.CreateFactory1(loader.FindExport(dxgiLibrary.get(), "CreateDXGIFactory1"), factory),
        kUnsupported);
    EXPECT_EQ(factory, 0u);
}

// The six sources on Wine's machine: all initialise, and only the diagnostics provider lists an
// adapter. Wine's provider needs a sound driver: with winealsa.drv disabled its Initialize fails.
TEST(Win32GraphicsTest, SourcesOnWinesMachine) {
    ComApartment apartment;
    test::FreshProcessState();
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(DXDiag::Instance().IsInitialized());
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(
                                  std::chrono::steady_clock::now() - start)
                                  .count();
    RecordProperty("DxDiagInitializeMilliseconds", static_cast<int>(milliseconds));
    std::printf("Diagnostics provider initialised in %lld ms\n",
                static_cast<long long>(milliseconds));

    std::vector<GpuInfo> list;
    DXDiag::Instance().GetGpuInfo(list);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_STREQ(list[0].name.ToString(), L"Wine Adapter");
    EXPECT_STREQ(list[0].deviceID.ToString(), L"VEN_0000&DEV_0000&SUBSYS_00000000&REV_00");
    EXPECT_STREQ(list[0].chipset.ToString(), L"");
    EXPECT_STREQ(list[0].driverVersion.ToString(), L"");
    EXPECT_GT(list[0].totalRam.GetBytes(), 0u);

    std::vector<GpuInfo> others;
    const auto read = [&others](auto& source) {
        EXPECT_TRUE(source.IsInitialized());
        source.GetGpuInfo(others);
    };
    read(DirectX_8::Instance());
    read(DirectX_9::Instance());
    read(DXGI::Instance());
    read(DirectX_10::Instance());
    read(DirectX_11::Instance());
    EXPECT_TRUE(others.empty());
    test::FreshProcessState();
}

TEST(Win32GraphicsTest, ScreenAndMonitorDetectorsOnWinesMachine) {
    test::FreshProcessState();
    Graphics().Detect();
    Monitor().Detect();
    const auto stored = test::Stored();
    ASSERT_GE(stored.size(), 4u);
    EXPECT_EQ(std::vector<std::wstring>(stored.begin(), stored.begin() + 3),
              (std::vector<std::wstring>{L"71214#0=1024x768", L"71079#0=32 Bits Per Pixel",
                                         L"71341#0=0"}));
    EXPECT_EQ(stored.back(), L"71421#0=1024 x 768");
    test::FreshProcessState();
}
#endif

}  // namespace
}  // namespace rigel::os
