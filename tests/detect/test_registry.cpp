#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "detect/platform/registry.h"
#include "diag/log.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using namespace std::string_literals;

using Bytes = std::vector<std::uint8_t>;
constexpr os::HKey kMachine = os::Registry::kLocalMachine;
const std::wstring kProcessor = L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
const std::wstring kTestKey = L"SOFTWARE\\Test";

Bytes Utf16(const std::wstring& text) { return os::FakeRegistry::Utf16(text); }

class RegistryTest : public ::testing::Test {
  protected:
    ~RegistryTest() override { EXPECT_EQ(machine.registry.OpenKeyCount(), 0u); }

    Registry& registry() { return Registry::Instance(); }

    // A fresh process with an empty debugger output, for each case of a table.
    void Fresh() {
        test::FreshProcessState();
        machine.debugOutput.chunks.clear();
    }

    test::FakeMachine machine;
};

TEST_F(RegistryTest, ReadStringTurnsEveryTypeIntoText) {
    struct Case {
        const char* what;
        std::uint32_t type;
        Bytes data;
        std::wstring expected;
    };
    const Case cases[] = {
        {"text", os::Registry::kString, Utf16(L"Intel(R) Core(TM)\0"s), L"Intel(R) Core(TM)"},
        {"expandable", os::Registry::kExpandString, Utf16(L"%SystemRoot%\0"s), L"%SystemRoot%"},
        {"first of several", os::Registry::kMultiString, Utf16(L"ALASKA - 1072009\0BIOS\0\0"s),
         L"ALASKA - 1072009"},
        {"no terminator", os::Registry::kString, Utf16(L"abc"), L"abc"},
        {"odd length", os::Registry::kString, {'a', 0, 'b', 0, 'c'}, L"ab"},
        {"empty", os::Registry::kString, {}, L""},
        {"dword", os::Registry::kDword, {0x40, 0x0D, 0, 0}, L"3392"},
        {"largest dword", os::Registry::kDword, {0xFF, 0xFF, 0xFF, 0xFF}, L"4294967295"},
        {"short dword", os::Registry::kDword, {0x10}, L"16"},
        {"long dword", os::Registry::kDword, {1, 0, 0, 0, 9, 9}, L"1"},
        {"binary", os::Registry::kBinary, {0, 0, 'A', 0, 0, 0, 'B', 0, 'C', 0}, L"ABC"},
        {"binary odd", os::Registry::kBinary, {0, 0, 'A', 0, 'B'}, L"A"},
        {"binary all NUL", os::Registry::kBinary, {0, 0, 0, 0}, L""},
        {"binary high bytes", os::Registry::kBinary, {0, 0, 0x00, 0x30, 0x41, 0x00}, L"\x3000\x41"},
        {"qword as text", os::Registry::kQword, {'7', 0, 0, 0, 0, 0, 0, 0}, L"7"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        machine.registry.SetValue(kMachine, kTestKey, L"Value", c.type, c.data);
        std::wstring text = L"stale";
        EXPECT_TRUE(registry().ReadString(kMachine, kTestKey, L"Value", text));
        EXPECT_EQ(text, c.expected);
    }
}

TEST_F(RegistryTest, ReadStringFailsWithoutKeyOrValueAndEmptiesTheText) {
    machine.registry.SetString(kMachine, kTestKey, L"Present", L"x");
    machine.registry.FailOpen(kMachine, L"SOFTWARE\\Locked", os::Registry::kKeyRead,
                              os::Registry::kAccessDenied);
    machine.registry.FailQuery(kMachine, kTestKey, L"Denied", os::Registry::kAccessDenied);
    struct Case {
        std::wstring key;
        std::wstring value;
    };
    const Case cases[] = {{L"SOFTWARE\\Absent", L"Present"},
                          {kTestKey, L"Absent"},
                          {L"SOFTWARE\\Locked", L"Present"},
                          {kTestKey, L"Denied"}};
    for (const auto& c : cases) {
        std::wstring text = L"stale";
        EXPECT_FALSE(registry().ReadString(kMachine, c.key, c.value, text)) << c.value;
        EXPECT_EQ(text, L"");
    }
    EXPECT_EQ(machine.registry.opens.front().second, os::Registry::kKeyRead);
}

TEST_F(RegistryTest, StrictTextReadTellsWhyAValueIsNotText) {
    using Read = Registry::StringRead;
    struct Case {
        const char* what;
        std::uint32_t type;
        Bytes data;
        Read expected;
        std::wstring text;
    };
    // A buffer of 20 bytes holds nine units and the terminator.
    const Case cases[] = {
        {"text", os::Registry::kString, Utf16(L"123456789\0"s), Read::kText, L"123456789"},
        {"expandable", os::Registry::kExpandString, Utf16(L"%x%\0"s), Read::kText, L"%x%"},
        {"empty", os::Registry::kString, {}, Read::kText, L""},
        {"one unit too long", os::Registry::kString, Utf16(L"1234567890\0"s), Read::kTooLong, L""},
        {"odd", os::Registry::kString, {'a', 0, 0}, Read::kOddLength, L""},
        {"unterminated", os::Registry::kString, Utf16(L"abc"), Read::kNotTerminated, L""},
        {"multi", os::Registry::kMultiString, Utf16(L"a\0\0"s), Read::kNotText, L""},
        {"dword", os::Registry::kDword, {1, 0, 0, 0}, Read::kNotText, L""},
        {"binary", os::Registry::kBinary, Utf16(L"a\0"s), Read::kNotText, L""},
        {"no type", os::Registry::kNone, Bytes{}, Read::kNotText, L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Fresh();
        machine.registry.SetValue(kMachine, kTestKey, L"Value", c.type, c.data);
        const os::UniqueKey key = registry().OpenKey(kMachine, kTestKey, os::Registry::kKeyRead);
        ASSERT_TRUE(key);
        std::wstring text;
        EXPECT_EQ(registry().ReadText(key.get(), L"Value", 20, text), c.expected);
        EXPECT_EQ(text, c.text);
        EXPECT_EQ(registry().ReadText(key.get(), L"Absent", 20, text), Read::kMissing);
    }
}

// The platform, microcode and chipset values are pinned through the CPU detector's tests.
TEST_F(RegistryTest, ProcessorNameIsLoggedAndTakenAsStored) {
    machine.registry.SetString(kMachine, kProcessor, L"ProcessorNameString",
                               L"  Intel(R) Core(TM) i7    CPU  ");
    machine.registry.SetDword(kMachine, kProcessor, L"~MHz", 3392);
    Log::Instance().SetLevel(Log::kTrace);

    CpuInfo info;
    EXPECT_TRUE(registry().GetCpuInfo(info));
    EXPECT_EQ(info.name, L"  Intel(R) Core(TM) i7    CPU  ");
    EXPECT_EQ(info.speed.GetHertz(), 3392000000u);
    EXPECT_EQ(machine.LogMessages(),
              std::vector<std::wstring>{L"Name = L  Intel(R) Core(TM) i7    CPU  "});
}

TEST_F(RegistryTest, ChipsetVersionFallsBackToInfverInTheSixtyFourBitView) {
    machine.registry.SetString(kMachine, L"SOFTWARE\\Intel\\Infinst", L"infver", L"8.3.0");
    CpuInfo info;
    registry().GetCpuInfo(info);
    EXPECT_EQ(info.chipsetInfVersion, L"8.3.0");
    EXPECT_TRUE(info.name.empty());
    EXPECT_FALSE(info.speed.IsValid());
    const std::pair<std::wstring, std::uint32_t> infinst{L"SOFTWARE\\Intel\\Infinst", 0x20119};
    EXPECT_EQ(machine.registry.opens.back(), infinst);

    // A version without its terminator is cut at its end.
    machine.registry.SetValue(kMachine, L"SOFTWARE\\Intel\\Infinst", L"version",
                              os::Registry::kString, Utf16(L"9.4"));
    registry().GetCpuInfo(info);
    EXPECT_EQ(info.chipsetInfVersion, L"9.4");
}

}  // namespace
}  // namespace rigel
