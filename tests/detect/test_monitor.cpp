#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <string>
#include <vector>

#include "detect/devices/edid_block.h"
#include "detect/devices/graphics.h"
#include "detect/devices/monitor.h"
#include "detect/stored_values.h"
#include "diag/log.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using test::Stored;
constexpr os::HKey kMachine = os::Registry::kLocalMachine;
const std::wstring kDisplay = L"SYSTEM\\CurrentControlSet\\Enum\\DISPLAY";

// A base block with the manufacturer and product bytes 04 43 A0 A4 and no descriptors.
std::vector<std::uint8_t> BaseBlock() {
    std::vector<std::uint8_t> bytes(128);
    bytes[0] = 0x00;
    std::fill(bytes.begin() + 1, bytes.begin() + 7, 0xFF);
    bytes[8] = 0x04;
    bytes[9] = 0x43;
    bytes[10] = 0xA0;
    bytes[11] = 0xA4;
    for (std::size_t block = 54; block < 126; block += 18) bytes[block] = 0x01;  // timings
    return bytes;
}

void SetDescriptor(std::vector<std::uint8_t>& bytes, int slot, std::uint8_t type,
                   const std::string& text) {
    const auto start = bytes.begin() + 54 + 18 * slot;
    std::fill(start, start + 18, 0);
    start[3] = type;
    std::copy(text.begin(), text.end(), start + 5);
}

TEST(EdidBlockTest, ManufacturerIdentifierAndText) {
    const EdidBlock edid(BaseBlock());
    EXPECT_EQ(edid.ManufacturerCode(), L"ABC");
    EXPECT_EQ(edid.Identifier(), L"A4A04304");
    const std::wstring text = edid.HexText();
    EXPECT_EQ(text.size(), 383u);
    EXPECT_EQ(text.substr(0, 36), L"00 FF FF FF FF FF FF 00 04 43 A0 A4 ");
    EXPECT_EQ(edid.MonitorName(), "");

    // A short value reads as zeros beyond its end; a long one is cut to what the buffer holds.
    const EdidBlock shortBlock(std::vector<std::uint8_t>{0, 1, 2, 3, 4, 5, 6, 7, 0x04});
    EXPECT_EQ(shortBlock.ManufacturerCode(), L"A@@");
    EXPECT_EQ(shortBlock.Identifier(), L"00000004");
    EXPECT_EQ(shortBlock.HexText(), L"00 01 02 03 04 05 06 07 04");
    const EdidBlock longBlock(std::vector<std::uint8_t>(300, 0xAB));
    EXPECT_EQ(longBlock.HexText().size(), 257u * 3 - 1);
    EXPECT_TRUE(EdidBlock({}).HexText().empty());
}

TEST(EdidBlockTest, MonitorNameIsTheLastNameDescriptorTrimmed) {
    auto bytes = BaseBlock();
    SetDescriptor(bytes, 0, 0xFC, "FIRST NAME\n");
    SetDescriptor(bytes, 1, 0xFF, "SERIAL123\n   ");
    SetDescriptor(bytes, 2, 0xFC, "OFFICE 24W\n  ");
    const EdidBlock edid(bytes);
    EXPECT_EQ(edid.MonitorName(), "OFFICE 24W");
    const auto descriptors = edid.Descriptors();
    EXPECT_EQ(descriptors[0].type, -4);
    EXPECT_EQ(descriptors[1].text, "SERIAL123\n   ");
    EXPECT_TRUE(descriptors[1].IsText());
    EXPECT_FALSE(descriptors[1].IsMonitorName());
    EXPECT_FALSE(descriptors[3].isDisplay);

    // A detailed timing whose fourth byte happens to be 0xFC is not a name; blanks alone trim
    // to nothing, and a full 13-byte name has no terminator.
    auto timing = BaseBlock();
    SetDescriptor(timing, 0, 0xFC, "  \n \n");
    SetDescriptor(timing, 3, 0xFC, "NOT A NAME");
    timing[54 + 3 * 18] = 0x3A;
    EXPECT_EQ(EdidBlock(timing).MonitorName(), "");
    SetDescriptor(timing, 1, 0xFC, "ABCDEFGHIJKLM");
    EXPECT_EQ(EdidBlock(timing).MonitorName(), "ABCDEFGHIJKLM");
}

void AddMonitor(test::FakeMachine& machine, const std::wstring& model,
                const std::vector<std::uint8_t>& edid, bool attached = true) {
    const std::wstring instance = kDisplay + L"\\" + model + L"\\5&1a2b3c&0&UID256";
    machine.registry.AddKey(kMachine, instance + L"\\Device Parameters");
    if (attached) machine.registry.AddKey(kMachine, instance + L"\\Control");
    machine.registry.SetValue(kMachine, instance + L"\\Device Parameters", L"EDID",
                              os::Registry::kBinary, edid);
}

TEST(MonitorTest, StoresEachAttachedMonitorWithAnEdid) {
    test::FakeMachine machine;
    Log::Instance().SetLevel(Log::kTrace);
    auto named = BaseBlock();
    SetDescriptor(named, 3, 0xFC, "OFFICE 24W\n  ");
    named[10] = 0x01;
    AddMonitor(machine, L"DEL4001", named, false);                    // not attached: skipped
    AddMonitor(machine, L"ABCA0A4", BaseBlock());                     // no name: the key name
    AddMonitor(machine, L"ABC0001", std::vector<std::uint8_t>(258));  // too long to read
    machine.registry.AddKey(kMachine, kDisplay + L"\\NOINST1");       // no instance
    AddMonitor(machine, L"DEL4002", named);
    machine.display.monitors = {{0, 0, 1920, 1080}};

    Monitor().Detect();

    const std::wstring baseText = EdidBlock(BaseBlock()).HexText();
    const std::wstring namedText = EdidBlock(named).HexText();
    EXPECT_EQ(Stored(), (std::vector<std::wstring>{L"71406#0=A4A04304", L"71405#0=ABCA0A4",
                                                   L"71425#0=" + baseText, L"71406#1=A4014304",
                                                   L"71405#1=OFFICE 24W", L"71425#1=" + namedText,
                                                   L"71421#0=1920 x 1080"}));
    EXPECT_EQ(machine.registry.OpenKeyCount(), 0u);
    const auto messages = machine.LogMessages();
    for (const wchar_t* expected :
         {L"Display Key Name: DEL4001", L"Opened First Key: 5&1a2b3c&0&UID256", L"Error: 2",
          L"Error: 234", L"Checked EDID for monitor: 0", L"Manufacturer ID: ABC",
          L"Monitor ID: A4A04304 At Index: 0", L"EDID Type: -4", L"EDID data: OFFICE 24W",
          L"Checked EDID for monitor: 1", L"Monitor Name: OFFICE 24W"}) {
        EXPECT_NE(std::find(messages.begin(), messages.end(), expected), messages.end())
            << std::string(expected, expected + std::wcslen(expected));
    }
}

TEST(MonitorTest, OnlyATallerAndWiderMonitorReplacesTheLargest) {
    struct Case {
        const char* what;
        std::vector<os::ScreenRect> first;
        std::vector<os::ScreenRect> second;  // a later detection in the same process
        const wchar_t* expected;
    };
    const Case cases[] = {
        {"the larger of two", {{0, 0, 1920, 1080}, {1920, 0, 3200, 1024}}, {}, L"1920 x 1080"},
        {"wider but not taller", {{0, 0, 1920, 1080}, {-2560, 0, 0, 1080}}, {}, L"1920 x 1080"},
        {"taller and wider second", {{0, 0, 1280, 1024}, {0, -1200, 1920, 0}}, {}, L"1920 x 1200"},
        {"empty rectangles", {{0, 0, 0, 1080}, {10, 10, 5, 5}}, {}, L"0 x 0"},
        {"no monitor", {}, {}, L"0 x 0"},
        {"kept across detections", {{0, 0, 1920, 1080}}, {{0, 0, 1024, 768}}, L"1920 x 1080"},
        {"raised by a later detection", {{0, 0, 1024, 768}}, {{0, 0, 1280, 1024}}, L"1280 x 1024"},
    };
    // No display key either: the resolution is all that is stored.
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeMachine machine;
        machine.display.monitors = c.first;
        Monitor().Detect();
        if (!c.second.empty()) {
            machine.display.monitors = c.second;
            Monitor().Detect();
        }
        EXPECT_EQ(Stored(), std::vector<std::wstring>{std::wstring(L"71421#0=") + c.expected});
    }
}

TEST(GraphicsTest, StoresResolutionAndColourDepthOfTheScreen) {
    test::FakeMachine machine;
    machine.display.width = 1920;
    machine.display.height = 1080;
    machine.display.bitsPerPixel = 32;
    Graphics().Detect();
    EXPECT_EQ(Stored(), (std::vector<std::wstring>{L"71214#0=1920x1080",
                                                   L"71079#0=32 Bits Per Pixel", L"71341#0=0"}));
    EXPECT_EQ(machine.display.capsAsked, (std::vector<int>{8, 10, 12}));
    EXPECT_EQ(machine.display.LiveContextCount(), 0u);
}

}  // namespace
}  // namespace rigel
