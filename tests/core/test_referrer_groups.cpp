#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/referrer_groups.h"
#include "support/fake_data_service.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

std::vector<std::wstring> Texts(const ReferrerGroups& list) {
    std::vector<std::wstring> texts;
    for (const auto& group : list.groups) texts.push_back(group.GetText());
    return texts;
}

class ReferrerGroupsTest : public ::testing::Test {
  protected:
    test::FakeMachine machine;
    test::FakeDataService service;
    ScopedDataService serviceScope{service};
    ReferrerGroups list;
};

// Runs of separators count as one; the last piece keeps its line end.
TEST_F(ReferrerGroupsTest, TheSecondLineIsSplitAtBarsAndCommas) {
    const std::vector<std::pair<std::wstring, std::vector<std::wstring>>> cases = {
        {L"any first line\nabc|123,,456\r\n", {L"abc", L"123", L"456\r\n"}},
        {L"71206|71424", {L"71206", L"71424"}},  // no line feed: the whole text
        {L"head\n1|2\n3|4\n", {L"1", L"2\n"}},   // a third line is ignored
        {L"head\n\f7\f|8\n", {L"7", L"8\n"}},    // form feeds are removed first
        {L"", {L""}},                            // an empty answer holds one empty group
        {L"head\n|5|", {L"", L"5", L""}},        // separators at the ends leave empty pieces
        {L"head\n,|7||,8,,|", {L"", L"7", L"8", L""}},
        {L"head\n|,", {L"", L""}},
    };
    for (const auto& [response, texts] : cases) {
        service.groupsResponse = response;
        list.loaded = false;
        list.Load(L"r1");
        EXPECT_EQ(Texts(list), texts) << response.size();
    }
}

TEST_F(ReferrerGroupsTest, LoadAsksOnlyWhenTheReferrerChanges) {
    EXPECT_FALSE(list.Load(L"r1"));
    EXPECT_FALSE(list.Load(L"r1"));
    EXPECT_FALSE(list.Load(L"R1"));
    EXPECT_EQ(service.groupRequests, (std::vector<std::wstring>{L"r1", L"R1"}));
    EXPECT_TRUE(list.loaded);
    EXPECT_EQ(list.referrer, L"R1");
}

// Everything counts as enabled before the list is loaded or in debug mode: see the report tests.
TEST_F(ReferrerGroupsTest, GroupsAreEnabledByNumberOrWithoutAReferrer) {
    service.groupsResponse = L"head\n071424|5";
    list.Load(L"r1");
    EXPECT_TRUE(list.IsGroupEnabled(GroupID(71424u)));
    EXPECT_TRUE(list.IsGroupEnabled(GroupID(std::wstring(L"5"))));
    EXPECT_FALSE(list.IsGroupEnabled(GroupID(71206u)));

    list.Load(L"");
    EXPECT_TRUE(list.IsGroupEnabled(GroupID(71206u))) << "an empty referrer enables every group";
}

}  // namespace
}  // namespace rigel
