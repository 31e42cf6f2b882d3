#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "detect/devices/direct_x.h"
#include "detect/stored_values.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using os::FakeDiagnostics;
using test::Stored;

constexpr std::uint64_t FileVersion(std::uint64_t a, std::uint64_t b, std::uint64_t c,
                                    std::uint64_t d) {
    return (a << 48) | (b << 32) | (c << 16) | d;
}

class FakeFileVersions : public FileVersionReader {
  public:
    std::map<std::wstring, std::uint64_t> versions;  // by full path
    std::vector<std::wstring> asked;

    bool GetFileVersionNumber(const std::wstring& path, std::uint64_t& version) override {
        asked.push_back(path);
        const auto found = versions.find(path);
        if (found == versions.end()) return false;
        version = found->second;
        return true;
    }
};

void SetProviderVersion(test::FakeMachine& machine, std::uint32_t major, std::uint32_t minor,
                        const std::wstring& letter) {
    auto& system = machine.diagnostics.root.Child(L"DxDiag_SystemInfo");
    system.Set(L"dwDirectXVersionMajor", FakeDiagnostics::Unsigned(major));
    system.Set(L"dwDirectXVersionMinor", FakeDiagnostics::Unsigned(minor));
    system.Set(L"szDirectXVersionLetter", FakeDiagnostics::Text(letter));
}

std::wstring Detected(FakeFileVersions& files) {
    DirectX(files).Detect();
    const auto stored = Stored();
    return stored.size() == 1 ? stored[0] : L"unexpected store";
}

TEST(DirectXTest, TheProviderAnswersFirst) {
    struct Case {
        const wchar_t* letter;
        const char* expected;
    };
    const Case cases[] = {{L"c", "9.0c"},
                          {L"C", "9.0c"},
                          {L" ", "9.0"},
                          {L"bx", "9.0b"},
                          {L"", "8.0"}};  // an empty letter leaves it to the files
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        test::FakeMachine machine;
        SetProviderVersion(machine, 9, 0, c.letter);
        FakeFileVersions files;
        files.versions[L"C:\\Windows\\system32\\ddraw.dll"] = FileVersion(5, 1, 2258, 400);
        EXPECT_EQ(Detected(files),
                  L"71082#0=" + std::wstring(c.expected, c.expected + std::strlen(c.expected)));
        EXPECT_EQ(machine.diagnostics.comInitializations, 1);
        EXPECT_EQ(machine.diagnostics.comUninitializations, 1);
        EXPECT_EQ(machine.diagnostics.parameters.headerVersion, 111u);
        EXPECT_EQ(machine.diagnostics.LiveObjectCount(), 0u);
    }
}

TEST(DirectXTest, ANumberOfAnotherTypeOrAFailedComLeavesItToTheFiles) {
    test::FakeMachine machine;
    SetProviderVersion(machine, 9, 0, L"c");
    machine.diagnostics.root.Child(L"DxDiag_SystemInfo")
        .Set(L"dwDirectXVersionMinor", FakeDiagnostics::Text(L"0"));
    machine.diagnostics.comStatus = static_cast<std::int32_t>(0x80010106);  // changed mode
    FakeFileVersions files;
    EXPECT_EQ(Detected(files), L"71082#0=0.0");
    EXPECT_EQ(machine.diagnostics.comUninitializations, 0);
    EXPECT_EQ(files.asked.front(), L"C:\\Windows\\system32\\ddraw.dll");
    EXPECT_EQ(files.asked.size(), 16u);
}

TEST(DirectXTest, TheLastFileEvidenceThatHoldsWins) {
    using Files = std::map<std::wstring, std::uint64_t>;
    struct Case {
        const char* what;
        Files files;
        const wchar_t* expected;
    };
    const Case cases[] = {
        {"nothing", {}, L"0.0"},
        {"DirectX 7 with its input",
         {{L"ddraw.dll", FileVersion(4, 7, 0, 700)}, {L"dinput.dll", FileVersion(4, 7, 0, 716)}},
         L"7.0a"},
        {"any d3d9 at all",
         {{L"ddraw.dll", FileVersion(4, 7, 0, 700)},
          {L"dinput.dll", FileVersion(4, 7, 0, 716)},
          {L"d3d9.dll", 0}},
         L"9.0"},
        {"XP ddraw", {{L"ddraw.dll", FileVersion(5, 1, 2258, 400)}}, L"8.0"},
        {"XP ddraw a build short", {{L"ddraw.dll", FileVersion(5, 1, 2258, 399)}}, L"7.0"},
        {"d3d8 of 8.1a", {{L"d3d8.dll", FileVersion(5, 1, 2600, 901)}}, L"8.1a"},
        {"d3d8 of series 6 is neither", {{L"d3d8.dll", FileVersion(6, 1, 0, 0)}}, L"0.0"},
        {"mpeg splitter", {{L"mpg2splt.ax", FileVersion(6, 3, 1, 885)}}, L"8.1b"},
        {"DirectPlay 8.2", {{L"dpnet.dll", FileVersion(4, 9, 0, 134)}}, L"8.2"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        machine.diagnostics.createStatus = os::Diagnostics::kClassNotRegistered;
        FakeFileVersions files;
        for (const auto& [name, version] : c.files) {
            files.versions[L"C:\\Windows\\system32\\" + name] = version;
        }
        EXPECT_EQ(Detected(files), std::wstring(L"71082#0=") + c.expected);
    }
}

TEST(DirectXTest, AWorkingDirect3D11MeansEleven) {
    test::FakeMachine machine;
    SetProviderVersion(machine, 9, 0, L"c");
    machine.libraries.libraries = {{L"d3d11.dll", {"D3D11CreateDevice"}},
                                   {L"dxgi.dll", {"CreateDXGIFactory1"}}};
    FakeFileVersions files;
    EXPECT_EQ(Detected(files), L"71082#0=11.0");
}

TEST(DirectXTest, TheTextIsCutToItsCapacity) {
    test::FakeMachine machine;
    SetProviderVersion(machine, 4000000000u, 123456789, L"q");
    FakeFileVersions files;
    DirectX directX(files);
    EXPECT_EQ(directX.GetDirectXVersion(30), L"-294967296.123456789q");
    EXPECT_EQ(directX.GetDirectXVersion(5), L"-294");
}

}  // namespace
}  // namespace rigel
