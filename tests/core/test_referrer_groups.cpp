#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/referrer_groups.h"
#include "core/system.h"
#include "support/fake_data_service.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

std::vector<std::uint64_t> Numbers(const ReferrerGroups& list) {
    std::vector<std::uint64_t> numbers;
    for (const auto& group : list.groups) numbers.push_back(group.GetNumber());
    return numbers;
}

class ReferrerGroupsTest : public ::testing::Test {
  protected:
    test::FakeMachine machine;
    test::FakeDataService service;
    ScopedDataService serviceScope{service};
    ReferrerGroups list;
};

TEST_F(ReferrerGroupsTest, TheSecondLineIsSplitAtBarsAndCommas) {
    const std::vector<std::pair<std::wstring, std::vector<std::uint64_t>>> cases = {
        {L"any first line\nabc|123,,456\r\n", {0, 123, 456}},
        {L"71206|71424", {71206, 71424}},  // no line feed: the whole text
        {L"head\n1|2\n3|4\n", {1, 2}},     // a third line is ignored
        {L"head\n\f7\f|8\n", {7, 8}},      // form feeds are removed first
        {L"", {0}},                        // an empty answer holds group 0
        {L"head\n|5|", {0, 5, 0}},         // separators at the ends leave empty pieces
    };
    for (const auto& [response, numbers] : cases) {
        service.groupsResponse = response;
        list.loaded = false;
        list.Load(L"r1");
        EXPECT_EQ(Numbers(list), numbers) << response.size();
    }
}

TEST_F(ReferrerGroupsTest, TheLastPieceKeepsItsLineEnd) {
    service.groupsResponse = L"x\nabc|123,,456\r\n";
    list.Load(L"r1");
    ASSERT_EQ(list.groups.size(), 3u);
    EXPECT_EQ(list.groups[0].GetText(), L"abc");
    EXPECT_EQ(list.groups[2].GetText(), L"456\r\n");
}

TEST_F(ReferrerGroupsTest, LoadAsksOnlyWhenTheReferrerChanges) {
    EXPECT_FALSE(list.Load(L"r1"));
    EXPECT_FALSE(list.Load(L"r1"));
    EXPECT_FALSE(list.Load(L"R1"));
    EXPECT_EQ(service.groupRequests, (std::vector<std::wstring>{L"r1", L"R1"}));
    EXPECT_TRUE(list.loaded);
    EXPECT_EQ(list.referrer, L"R1");
}

TEST_F(ReferrerGroupsTest, GroupsAreEnabledByNumberByDebugOrWithoutAReferrer) {
    EXPECT_TRUE(list.IsGroupEnabled(GroupID(71424u))) << "not loaded: everything is enabled";

    service.groupsResponse = L"head\n071424|5";
    list.Load(L"r1");
    EXPECT_TRUE(list.IsGroupEnabled(GroupID(71424u)));
    EXPECT_TRUE(list.IsGroupEnabled(GroupID(std::wstring(L"5"))));
    EXPECT_FALSE(list.IsGroupEnabled(GroupID(71206u)));

    System::Instance().SetDebug(L"1");
    EXPECT_TRUE(list.IsGroupEnabled(GroupID(71206u)));
    System::Instance().SetDebug(L"0");
    EXPECT_FALSE(list.IsGroupEnabled(GroupID(71206u)));

    list.Load(L"");
    EXPECT_TRUE(list.IsGroupEnabled(GroupID(71206u))) << "an empty referrer enables every group";
}

}  // namespace
}  // namespace rigel
