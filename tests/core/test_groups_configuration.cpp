#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "core/system_values.h"
#include "core/xml_report.h"
#include "diag/log.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using namespace std::string_literals;

using Entry = std::tuple<std::wstring, std::uint32_t, std::wstring>;

// Every entry as (group text, index, text), in store order.
std::vector<Entry> Entries(const SystemValues& values) {
    std::vector<Entry> entries;
    for (const SystemValue& value : values.Values()) {
        entries.emplace_back(value.id.group.GetText(), value.id.index, value.text);
    }
    return entries;
}

struct Case {
    std::wstring configuration;
    std::vector<Entry> entries;
};

class GroupsConfigurationTest : public ::testing::Test {
  protected:
    void ExpectCases(const std::vector<Case>& cases) {
        for (const Case& c : cases) {
            SystemValues values;
            values.AddValues(c.configuration);
            EXPECT_EQ(Entries(values), c.entries) << c.configuration;
        }
    }

    test::FakeMachine machine;
};

TEST_F(GroupsConfigurationTest, GroupsAreAddedInOrderUntilTheTextEnds) {
    ExpectCases({
        {LR"(<groups><group index="2" id="71206"><value>abc</value></group></groups>)",
         {{L"71206", 2, L"abc"}}},
        // Attributes in any order; a repeated identifier replaces the value in place.
        {LR"(<groups><group index="0" id="5"><value>a</value></group>)"
         LR"(<group id="4" index="1"><value>b</value></group>)"
         LR"(<group index="0" id="5"><value>c</value></group></groups>)",
         {{L"5", 0, L"c"}, {L"4", 1, L"b"}}},
        {LR"(<groups><group index='3' id='7'><value>q</value></group>)"
         LR"(<group index=4 id=8 ><value>r</value></group></groups>)",
         {{L"7", 3, L"q"}, {L"8", 4, L"r"}}},
        // The id text is kept as written and the value text verbatim.
        {LR"(<groups><group index="0" id="071424"><value>  a &amp; &lt;b&gt;  </value></group>)",
         {{L"071424", 0, L"  a &amp; &lt;b&gt;  "}}},
        // No closing groups tag is needed.
        {LR"(text before <groups><group id="1" index="0"><value>v</value></group>)",
         {{L"1", 0, L"v"}}},
        // Incomplete texts keep what was added so far.
        {LR"(<group index="0" id="1"><value>a</value></group>)", {}},
        {L"<groups></groups>", {}},
        {LR"(<groups><group index="0" id="1"><value>a</value>)", {}},
        {LR"(<groups><group id="1"><value>a</value></group><group id="2"><value>b</value>)",
         {{L"1", 0, L"a"}}},
        // A value without its end tag reads empty.
        {LR"(<groups><group id="1"><value>abc</group></groups>)", {{L"1", 0, L""}}},
        // An end tag before the group start closes an empty group.
        {LR"(<groups></group><group id="1"><value>a</value></group>)", {{L"1", 0, L"a"}}},
    });
}

TEST_F(GroupsConfigurationTest, OddGroupsFollowTheTextScan) {
    ExpectCases({
        // An empty id takes the next word as the id.
        {LR"(<groups><group index="0" id=""><value>x</value></group></groups>)",
         {{L"value", 0, L"x"}}},
        // A group without id adds nothing and the scan goes on.
        {LR"(<groups><group index="1"><value>x</value></group>)"
         LR"(<group index="2" id="5"><value>y</value></group></groups>)",
         {{L"5", 2, L"y"}}},
        // A group without value takes the next value's text.
        {LR"(<groups><group index="0" id="1"></group>)"
         LR"(<group index="0" id="2"><value>b</value></group></groups>)",
         {{L"1", 0, L"b"}, {L"2", 0, L"b"}}},
        // An index of the next group is ignored.
        {LR"(<groups><group id="3"><value>v</value></group>)"
         LR"(<group index="9" id="4"><value>w</value></group></groups>)",
         {{L"3", 0, L"v"}, {L"4", 9, L"w"}}},
        // Attributes between the scan position and the group start count.
        {LR"(<groups> index="5" <group id="3"><value>v</value></group></groups>)",
         {{L"3", 5, L"v"}}},
        // A token needs one more character before the group end.
        {LR"(<groups><group index=1 id=7></group><group index=2 id=8 ></group>)"
         LR"(<group id=9><value>z</value></group></groups>)",
         {{L"8", 2, L"z"}, {L"9", 0, L"z"}}},
        // NUL characters are ordinary characters.
        {L"<groups><group index=\"0\" id=\"1\"><value>a\0b</value></group>"s,
         {{L"1", 0, L"a\0b"s}}},
        {L"\0<groups>\0<group index=\"1\"\0id=\"2\"><value>\0</value></group>\0"s,
         {{L"2", 1, L"\0"s}}},
        {L"<groups><group index=\"0\" id=\"1\0x\" ><value>v</value></group>"s,
         {{L"1\0x"s, 0, L"v"}}},
    });
}

TEST_F(GroupsConfigurationTest, IndexesBeyondTheirRangeAreTakenModulo) {
    ExpectCases({
        {LR"(<groups><group index="-1" id="1"><value>a</value></group>)"
         LR"(<group index="4294967295" id="2"><value>b</value></group>)"
         LR"(<group index="99999999999" id="3"><value>c</value></group>)"
         LR"(<group index="+3" id="4"><value>d</value></group>)"
         LR"(<group index="x" id="5"><value>e</value></group>)",
         {{L"1", 4294967295u, L"a"},
          {L"2", 4294967295u, L"b"},
          {L"3", 1215752191u, L"c"},
          {L"4", 3, L"d"},
          {L"5", 0, L"e"}}},
    });
}

TEST_F(GroupsConfigurationTest, ScanIsLoggedAtTraceLevelOnly) {
    const struct {
        std::wstring configuration;
        std::vector<std::wstring> scan;
    } cases[] = {
        {L"<groups><group index=\"2\" id=\"71206\"><value>abc</value></group></groups>",
         {L"pos = 8", L"id pos= 25", L"id = 71206 abc", L"Adding value: abc to 71206#2",
          L"pos = -1"}},
        {L"<groups><group index=\"1\"><value>x</value></group>",
         {L"pos = 8", L"id pos= -1", L"id =  x", L"pos = -1"}},
    };
    for (const auto& c : cases) {
        machine.debugOutput.chunks.clear();
        Log::Instance().SetLevel(Log::kWarning);
        SystemValues().AddValues(c.configuration);
        Log::Instance().SetLevel(Log::kTrace);
        SystemValues().AddValues(c.configuration);
        std::vector<std::wstring> expected{L"values = " + c.configuration};
        expected.insert(expected.end(), c.scan.begin(), c.scan.end());
        EXPECT_EQ(machine.LogMessages(), expected);
    }
}

TEST_F(GroupsConfigurationTest, AReportReadBackRestoresEveryValueAsWritten) {
    SystemValues original;
    original.AddValue(71424, L"session");
    original.AddValue(SystemValue(SystemValueID(GroupID(L"071218"), 4294967295u), L"a & b"));
    original.AddValue(71206, 3, L"  spaced   out \"quoted\" 'single' <tag> &lt; ");
    original.AddValue(71207, L"");
    original.AddValue(12, 1, L"video id index <value> </group> <group id=\"9\">");
    original.AddValue(13, L"line\nbreak\ttab");
    std::wstring report;
    XMLReport(original).GetReport(report);
    SystemValues restored;
    restored.AddValues(report);

    // The texts come back as the report wrote them: cleaned, entities not decoded.
    std::vector<Entry> expected = Entries(original);
    for (Entry& entry : expected) std::get<2>(entry) = XMLReport::CleanText(std::get<2>(entry));
    EXPECT_EQ(std::get<2>(expected[1]), L"a &amp; b");
    EXPECT_EQ(Entries(restored), expected);
}

TEST_F(GroupsConfigurationTest, LargeConfigurationsAreScannedOnce) {
    // Shapes that make a scan restarting at every group look at the whole rest each time.
    std::wstring groupsWithoutIds = L"<groups>";
    for (int i = 0; i < 40000; ++i) groupsWithoutIds += L"<group index=\"1\"></group>";
    groupsWithoutIds += L"<group id=\"5\"><value>last</value></group>";
    groupsWithoutIds += std::wstring(1 << 20, L'x');

    std::wstring longDelimiterRun = L"<groups>";
    for (int i = 0; i < 40000; ++i) longDelimiterRun += L"<group ></group>";
    longDelimiterRun += L"<group id" + std::wstring(1 << 20, L'=') + L"7 ></group>";

    SystemValues values;
    values.AddValues(groupsWithoutIds);
    values.AddValues(longDelimiterRun);
    EXPECT_EQ(Entries(values), (std::vector<Entry>{{L"5", 0, L"last"}, {L"7", 0, L""}}));
}

}  // namespace
}  // namespace rigel
