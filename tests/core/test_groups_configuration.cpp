#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "core/system.h"
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
    const char* name;
    std::wstring configuration;
    std::vector<Entry> entries;
};

class GroupsConfigurationTest : public ::testing::Test {
  protected:
    void ExpectCases(const std::vector<Case>& cases) {
        for (const Case& c : cases) {
            SystemValues values;
            values.AddValues(c.configuration);
            EXPECT_EQ(Entries(values), c.entries) << c.name;
        }
    }

    test::FakeMachine machine;
};

TEST_F(GroupsConfigurationTest, WellFormedGroupsAreAddedInOrder) {
    ExpectCases({
        {"one group",
         L"<groups><group index=\"2\" id=\"71206\"><value>abc</value></group></groups>",
         {{L"71206", 2, L"abc"}}},
        {"several groups, attributes in any order",
         L"<groups><group index=\"0\" id=\"5\"><value>a</value></group>"
         L"<group id=\"4\" index=\"1\"><value>b</value></group>"
         L"<group index=\"0\" id=\"5\"><value>c</value></group></groups>",
         {{L"5", 0, L"c"}, {L"4", 1, L"b"}}},
        {"single quotes and no quotes",
         L"<groups><group index='3' id='7'><value>q</value></group>"
         L"<group index=4 id=8 ><value>r</value></group></groups>",
         {{L"7", 3, L"q"}, {L"8", 4, L"r"}}},
        {"the id text is kept as written",
         L"<groups><group index=\"0\" id=\"071424\"><value>x</value></group></groups>",
         {{L"071424", 0, L"x"}}},
        {"the value text is verbatim",
         L"<groups><group index=\"0\" id=\"1\"><value>  a &amp; &lt;b&gt;  </value></group>",
         {{L"1", 0, L"  a &amp; &lt;b&gt;  "}}},
        {"no closing groups tag is needed",
         L"text before <groups><group id=\"1\" index=\"0\"><value>v</value></group>",
         {{L"1", 0, L"v"}}},
    });
}

TEST_F(GroupsConfigurationTest, IncompleteTextKeepsWhatWasAddedSoFar) {
    ExpectCases({
        {"no groups tag", L"<group index=\"0\" id=\"1\"><value>a</value></group>", {}},
        {"empty", L"", {}},
        {"groups tag only", L"<groups></groups>", {}},
        {"group tag without its end", L"<groups><group index=\"0\" id=\"1\"><value>a</value>", {}},
        {"the second group has no end",
         L"<groups><group id=\"1\"><value>a</value></group><group id=\"2\"><value>b</value>"
         L"</groups>",
         {{L"1", 0, L"a"}}},
        {"a value without its end tag reads empty",
         L"<groups><group id=\"1\"><value>abc</group></groups>",
         {{L"1", 0, L""}}},
        {"an end tag before the group start closes an empty group",
         L"<groups></group><group id=\"1\"><value>a</value></group>",
         {{L"1", 0, L"a"}}},
    });
}

TEST_F(GroupsConfigurationTest, OddGroupsFollowTheTextScan) {
    ExpectCases({
        {"an empty id takes the next word as the id",
         L"<groups><group index=\"0\" id=\"\"><value>x</value></group></groups>",
         {{L"value", 0, L"x"}}},
        {"a group without id adds nothing and the scan goes on",
         L"<groups><group index=\"1\"><value>x</value></group>"
         L"<group index=\"2\" id=\"5\"><value>y</value></group></groups>",
         {{L"5", 2, L"y"}}},
        {"a group without value takes the next value's text",
         L"<groups><group index=\"0\" id=\"1\"></group>"
         L"<group index=\"0\" id=\"2\"><value>b</value></group></groups>",
         {{L"1", 0, L"b"}, {L"2", 0, L"b"}}},
        {"an index of the next group is ignored",
         L"<groups><group id=\"3\"><value>v</value></group>"
         L"<group index=\"9\" id=\"4\"><value>w</value></group></groups>",
         {{L"3", 0, L"v"}, {L"4", 9, L"w"}}},
        {"attributes between the scan position and the group start count",
         L"<groups> index=\"5\" <group id=\"3\"><value>v</value></group></groups>",
         {{L"3", 5, L"v"}}},
        {"a token needs one more character before the group end",
         L"<groups><group index=1 id=7></group><group index=2 id=8 ></group>"
         L"<group id=9><value>z</value></group></groups>",
         {{L"8", 2, L"z"}, {L"9", 0, L"z"}}},
    });
}

TEST_F(GroupsConfigurationTest, NumbersBeyondTheirRangeAreTakenModulo) {
    ExpectCases({
        {"index -1",
         L"<groups><group index=\"-1\" id=\"1\"><value>a</value></group>",
         {{L"1", 4294967295u, L"a"}}},
        {"largest index",
         L"<groups><group index=\"4294967295\" id=\"1\"><value>a</value></group>",
         {{L"1", 4294967295u, L"a"}}},
        {"index above 32 bits",
         L"<groups><group index=\"99999999999\" id=\"1\"><value>a</value></group>",
         {{L"1", 1215752191u, L"a"}}},
        {"index with sign and no digits",
         L"<groups><group index=\"+3\" id=\"1\"><value>a</value></group>"
         L"<group index=\"x\" id=\"2\"><value>b</value></group>",
         {{L"1", 3, L"a"}, {L"2", 0, L"b"}}},
        {"ids beyond 2^32 are all 4294967295",
         L"<groups><group index=\"0\" id=\"4294967296\"><value>a</value></group>"
         L"<group index=\"0\" id=\"99999999999999999999\"><value>b</value></group>"
         L"<group index=\"0\" id=\"4294967295\"><value>c</value></group></groups>",
         {{L"4294967295", 0, L"c"}}},
    });
}

TEST_F(GroupsConfigurationTest, NulCharactersAreOrdinaryCharacters) {
    ExpectCases({
        {"inside the value",
         L"<groups><group index=\"0\" id=\"1\"><value>a\0b</value></group>"s,
         {{L"1", 0, L"a\0b"s}}},
        {"between the groups",
         L"\0<groups>\0<group index=\"1\"\0id=\"2\"><value>\0</value></group>\0"s,
         {{L"2", 1, L"\0"s}}},
        {"inside the id",
         L"<groups><group index=\"0\" id=\"1\0x\" ><value>v</value></group>"s,
         {{L"1\0x"s, 0, L"v"}}},
    });
}

TEST_F(GroupsConfigurationTest, ScanIsLoggedAtTraceLevel) {
    const std::wstring configuration =
        L"<groups><group index=\"2\" id=\"71206\"><value>abc</value></group></groups>";
    Log::Instance().SetLevel(Log::kTrace);
    SystemValues values;
    values.AddValues(configuration);
    EXPECT_EQ(machine.LogMessages(),
              (std::vector<std::wstring>{L"values = " + configuration, L"pos = 8", L"id pos= 25",
                                         L"id = 71206 abc", L"Adding value: abc to 71206#2",
                                         L"pos = -1"}));
}

TEST_F(GroupsConfigurationTest, ScanOfAGroupWithoutIdLogsAnEmptyId) {
    const std::wstring configuration = L"<groups><group index=\"1\"><value>x</value></group>";
    Log::Instance().SetLevel(Log::kTrace);
    SystemValues values;
    values.AddValues(configuration);
    EXPECT_EQ(machine.LogMessages(),
              (std::vector<std::wstring>{L"values = " + configuration, L"pos = 8", L"id pos= -1",
                                         L"id =  x", L"pos = -1"}));
}

TEST_F(GroupsConfigurationTest, AReportReadBackRestoresEveryValue) {
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
    ASSERT_EQ(restored.Values().size(), original.Values().size());
    for (std::size_t i = 0; i < original.Values().size(); ++i) {
        const SystemValue& before = original.Values()[i];
        const SystemValue& after = restored.Values()[i];
        EXPECT_EQ(after.id.group.GetText(), before.id.group.GetText());
        EXPECT_EQ(after.id.index, before.id.index);
        // The text comes back as the report wrote it: cleaned, entities not decoded.
        EXPECT_EQ(after.text, XMLReport::CleanText(before.text)) << i;
    }
    EXPECT_EQ(restored.Values()[1].text, L"a &amp; b");
}

TEST_F(GroupsConfigurationTest, ValuesAddedToTheSessionStoreReplaceInPlace) {
    SystemValues& values = System::Instance().GetSystemValues();
    values.AddValue(71206, L"user");
    values.AddValue(1, L"one");
    values.AddValues(
        L"<groups><group index=\"0\" id=\"71206\"><value>u2</value></group>"
        L"<group index=\"0\" id=\"2\"><value>two</value></group></groups>");
    EXPECT_EQ(Entries(values),
              (std::vector<Entry>{{L"71206", 0, L"u2"}, {L"1", 0, L"one"}, {L"2", 0, L"two"}}));
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

    std::wstring manyValues = L"<groups>";
    for (std::uint32_t i = 0; i < 20000; ++i) {
        manyValues += L"<group index=\"" + std::to_wstring(i) + L"\" id=\"71000\"><value>v" +
                      std::to_wstring(i) + L"</value></group>";
    }
    ASSERT_GT(manyValues.size(), std::size_t{1} << 20);

    SystemValues values;
    values.AddValues(groupsWithoutIds);
    values.AddValues(longDelimiterRun);
    ASSERT_EQ(values.Values().size(), 2u);
    EXPECT_EQ(values.Values()[0].text, L"last");
    EXPECT_EQ(values.Values()[1].id.group.GetNumber(), 7u);
    EXPECT_EQ(values.Values()[1].text, L"");

    SystemValues many;
    many.AddValues(manyValues);
    ASSERT_EQ(many.Values().size(), 20000u);
    EXPECT_EQ(many.Values()[19999].text, L"v19999");
}

}  // namespace
}  // namespace rigel
