#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "core/system.h"
#include "detect/devices/direct_x.h"
#include "detect/devices/gpu.h"
#include "detect/graphics_libraries.h"
#include "detect/stored_values.h"
#include "diag/log.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using os::FakeDiagnostics;

struct FileVersion {
    const wchar_t* file;
    std::uint16_t a, b, c, d;
};

std::vector<std::wstring> DetectDirectX() {
    DirectX directX;
    EXPECT_TRUE(directX.Detect());
    return test::Stored();
}

// What the diagnostics provider reports under its system information.
void SetSystemInfo(test::FakeMachine& machine, const os::DiagnosticsValue& minor,
                   const os::DiagnosticsValue& letter) {
    auto& system = machine.diagnostics.root.Child(L"DxDiag_SystemInfo");
    system.Set(L"dwDirectXVersionMajor", FakeDiagnostics::Unsigned(9));
    system.Set(L"dwDirectXVersionMinor", minor);
    system.Set(L"szDirectXVersionLetter", letter);
}

void InstallFiles(test::FakeMachine& machine, const std::vector<FileVersion>& files) {
    for (const FileVersion& f : files)
        machine.fileVersions.AddFile(L"C:\\Windows\\System32\\" + std::wstring(f.file), f.a, f.b,
                                     f.c, f.d);
}

TEST(DirectXTest, FileVersionsNameTheNewestRelease) {
    struct Case {
        const char* what;
        std::vector<FileVersion> files;
        const wchar_t* text;
    };
    const Case cases[] = {
        {"no files", {}, L"0.0"},
        {"7.0a", {{L"ddraw.dll", 4, 7, 0, 700}, {L"dinput.dll", 4, 7, 0, 716}}, L"7.0a"},
        {"9.0 overrides 7.0a",
         {{L"ddraw.dll", 4, 7, 0, 700}, {L"dinput.dll", 4, 7, 0, 716}, {L"d3d9.dll", 0, 0, 0, 1}},
         L"9.0"},
        {"system ddraw at 8.0", {{L"ddraw.dll", 5, 1, 2258, 400}}, L"8.0"},
        {"system ddraw just below 8.0", {{L"ddraw.dll", 5, 1, 2258, 399}}, L"7.0"},
        {"a ddraw of neither line is no 8.0", {{L"ddraw.dll", 6, 0, 0, 0}}, L"7.0"},
        {"8.1a overrides 8.1", {{L"d3d8.dll", 5, 1, 2600, 901}}, L"8.1a"},
        {"8.1", {{L"d3d8.dll", 5, 1, 2600, 900}}, L"8.1"},
        {"3.0a", {{L"ddraw.dll", 4, 4, 0, 68}, {L"d3drg8x.dll", 4, 4, 0, 70}}, L"3.0a"},
        {"8.1b", {{L"mpg2splt.ax", 6, 3, 1, 885}}, L"8.1b"},
        {"8.2 after 8.1b", {{L"mpg2splt.ax", 6, 3, 1, 885}, {L"dpnet.dll", 4, 9, 0, 134}}, L"8.2"},
        {"6.1a", {{L"ddraw.dll", 4, 6, 0, 436}, {L"dplayx.dll", 4, 6, 3, 518}}, L"6.1a"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        machine.diagnostics.createStatus = os::Diagnostics::kClassNotRegistered;
        InstallFiles(machine, c.files);
        EXPECT_EQ(DetectDirectX(), std::vector<std::wstring>{L"71082#0=" + std::wstring(c.text)});
    }
}

TEST(DirectXTest, WithoutASystemDirectoryNoFileIsReadAndFailedComIsNotUndone) {
    test::FakeMachine machine;
    machine.diagnostics.comStatus = static_cast<std::int32_t>(0x80010106);  // RPC_E_CHANGED_MODE
    machine.diagnostics.createStatus = os::Diagnostics::kClassNotRegistered;
    machine.systemInfo.systemDirectory = std::wstring(260, L'x');  // does not fit
    InstallFiles(machine, {{L"d3d9.dll", 9, 0, 0, 0}});
    EXPECT_EQ(DetectDirectX(), std::vector<std::wstring>{L"71082#0=0.0"});
    EXPECT_TRUE(machine.fileVersions.sizeQueries.empty());
    EXPECT_EQ(machine.diagnostics.comUninitializations, 0);
}

TEST(DirectXTest, TheProviderAnswersWhenItHasAllThreeProperties) {
    struct Case {
        const char* what;
        os::DiagnosticsValue letter;
        os::DiagnosticsValue minor;
        const wchar_t* text;
    };
    os::DiagnosticsValue minorAsText = FakeDiagnostics::Text(L"0");
    const Case cases[] = {
        {"letter c", FakeDiagnostics::Text(L"c"), FakeDiagnostics::Unsigned(0), L"9.0c"},
        {"upper-case letter", FakeDiagnostics::Text(L"C"), FakeDiagnostics::Unsigned(0), L"9.0c"},
        {"a space is no letter", FakeDiagnostics::Text(L" "), FakeDiagnostics::Unsigned(0), L"9.0"},
        {"empty letter: the files decide", FakeDiagnostics::Text(L""), FakeDiagnostics::Unsigned(0),
         L"7.0"},
        {"letter not a text", FakeDiagnostics::Unsigned(3), FakeDiagnostics::Unsigned(0), L"7.0"},
        {"minor not a number", FakeDiagnostics::Text(L"c"), minorAsText, L"7.0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        InstallFiles(machine, {{L"ddraw.dll", 4, 7, 0, 700}});
        SetSystemInfo(machine, c.minor, c.letter);

        EXPECT_EQ(DetectDirectX(), std::vector<std::wstring>{L"71082#0=" + std::wstring(c.text)});
        EXPECT_EQ(machine.diagnostics.comInitializations, 1);
        EXPECT_EQ(machine.diagnostics.comUninitializations, 1);
        EXPECT_EQ(machine.diagnostics.LiveObjectCount(), 0u);
    }
}

TEST(DirectXTest, Direct3D11MakesIt11WhateverTheOtherMethodsSay) {
    for (const bool direct3D11 : {true, false}) {
        SCOPED_TRACE(direct3D11);
        test::FakeMachine machine;
        test::InstallGraphicsLibraries(machine, direct3D11 ? L"" : L"d3d11.dll");
        SetSystemInfo(machine, FakeDiagnostics::Unsigned(0), FakeDiagnostics::Text(L"c"));
        EXPECT_EQ(DetectDirectX(),
                  std::vector<std::wstring>{direct3D11 ? L"71082#0=11.0" : L"71082#0=9.0c"});
    }
}

// The adapter source and the DirectX version read one copy of the diagnostics tree, made once on
// a thread of its own, which opens and closes its own apartment; values and log lines do not
// depend on which of them asks first.
TEST(DirectXTest, AdapterSourceAndVersionShareOneTreeReadOnItsOwnThread) {
    const struct {
        const char* what;
        std::int32_t comStatus;
        bool versionFirst;
        int comUninitializations;
    } cases[] = {
        {"adapters first", os::Diagnostics::kOk, false, 1},
        {"version first", os::Diagnostics::kOk, true, 1},
        {"an apartment that cannot be opened", os::Diagnostics::kChangedMode, false, 0},
    };
    std::vector<std::wstring> adaptersFirstLog;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        Log::Instance().SetLevel(Log::kMark);
        machine.diagnostics.comStatus = c.comStatus;
        SetSystemInfo(machine, FakeDiagnostics::Unsigned(0), FakeDiagnostics::Text(L"c"));
        machine.diagnostics.root.Child(L"DxDiag_DisplayDevices")
            .Child(L"0")
            .Set(L"szDescription", FakeDiagnostics::Text(L"Adapter"));
        GPU gpu;
        DirectX directX;
        if (c.versionFirst) {
            EXPECT_TRUE(directX.Detect());
        }
        EXPECT_TRUE(gpu.Detect());
        if (!c.versionFirst) {
            EXPECT_TRUE(directX.Detect());
        }

        EXPECT_EQ(test::Stored(), std::vector<std::wstring>{L"71082#0=9.0c"});
        EXPECT_EQ(machine.diagnostics.providerInitializations, 1);
        EXPECT_NE(machine.diagnostics.initializingThread, std::this_thread::get_id());
        EXPECT_EQ(machine.diagnostics.LiveObjectCount(), 0u);
        EXPECT_EQ(machine.diagnostics.comInitializations, 1);
        EXPECT_EQ(machine.diagnostics.comUninitializations, c.comUninitializations);
        const std::vector<std::wstring> log = machine.LogMessages();
        EXPECT_EQ(std::count(log.begin(), log.end(), L"Entering: rigel::DXDiag::Initialize"), 1);
        EXPECT_EQ(std::count(log.begin(), log.end(), L"Container: 0"), 1);
        if (c.versionFirst) continue;
        if (adaptersFirstLog.empty()) adaptersFirstLog = log;
        EXPECT_EQ(log, adaptersFirstLog);
    }
}

}  // namespace
}  // namespace rigel
