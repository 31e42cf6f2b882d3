#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "core/exception.h"
#include "core/group_id.h"
#include "core/system_value.h"
#include "core/system_value_id.h"
#include "core/system_values.h"
#include "diag/log.h"
#include "support/fake_machine.h"
#include "values/exists.h"
#include "values/name.h"

namespace rigel {
namespace {

using Entry = std::tuple<std::wstring, std::uint32_t, std::wstring>;

// Every entry as (group text, index, text), in store order.
std::vector<Entry> Entries(const SystemValues& values) {
    std::vector<Entry> entries;
    for (const SystemValue& value : values.Values()) {
        entries.emplace_back(value.id.group.GetText(), value.id.index, value.text);
    }
    return entries;
}

SystemValueID ID(std::uint32_t number, std::uint32_t index = 0) {
    return SystemValueID(GroupID(number), index);
}

class SystemValuesTest : public ::testing::Test {
  protected:
    test::FakeMachine machine;
    SystemValues values;
};

TEST(GroupIDTest, TextIsReadAsAnUnsigned32BitNumber) {
    const std::vector<std::pair<std::wstring, std::uint64_t>> cases = {
        {L"71424", 71424},
        {L"071424", 71424},
        {L"", 0},
        {L"abc", 0},
        {L"12abc", 12},
        {L" \t\n+7", 7},
        {L"- 5", 0},
        {L"+-5", 0},
        {L"0x10", 0},
        {L"4294967295", 4294967295u},
        {L"4294967296", 4294967295u},
        {L"99999999999999999999999", 4294967295u},
        {L"-1", 4294967295u},
        {L"-4294967295", 1},
        {L"-4294967296", 4294967295u},
        {L"-0", 0},
    };
    for (const auto& [text, number] : cases) {
        const GroupID group(text);
        EXPECT_EQ(group.GetNumber(), number) << text;
        EXPECT_EQ(group.GetText(), text);
    }
}

TEST(GroupIDTest, NumbersAreWrittenInPlainDecimalAndAloneDecideEquality) {
    EXPECT_EQ(GroupID(0u).GetText(), L"0");
    EXPECT_EQ(GroupID(4294967295u).GetText(), L"4294967295");
    EXPECT_EQ(GroupID().GetText(), L"");
    EXPECT_EQ(GroupID().GetNumber(), 0u);

    EXPECT_EQ(GroupID(L"071424"), GroupID(71424u));
    EXPECT_EQ(GroupID(L"abc"), GroupID());
    EXPECT_NE(GroupID(L"71424"), GroupID(L"71425"));
    EXPECT_EQ(SystemValueID(GroupID(L" 71424"), 1), ID(71424, 1));
    EXPECT_NE(ID(71424, 0), ID(71424, 1));

    EXPECT_EQ(ID(71424).ToString(), L"71424#0");
    EXPECT_EQ(SystemValueID(GroupID(L"071424"), 3).ToString(), L"071424#3");
    EXPECT_EQ(ID(1, 4294967295u).ToString(), L"1#4294967295");
}

TEST_F(SystemValuesTest, EveryAddOperationFilesItsText) {
    Name name(L"name");
    Exists yes(true);
    Exists no(false);
    const Name constName(L"const name");
    const std::wstring text = L"wide string";
    const wchar_t* const noText = nullptr;

    values.AddValue(SystemValue(ID(1, 9), L"value"));
    values.AddValue(2, text);
    values.AddValue(3, name);
    values.AddValue(4, constName);
    values.AddValue(5, yes);
    values.AddValue(6, 7, no);
    values.AddValue(8, 9, std::wstring(L"indexed"));
    values.AddValue(10, L"null-terminated");
    values.AddValue(11, noText);
    name = L"changed";  // the store keeps the text the value had when it was added
    EXPECT_EQ(Entries(values), (std::vector<Entry>{{L"1", 9, L"value"},
                                                   {L"2", 0, L"wide string"},
                                                   {L"3", 0, L"name"},
                                                   {L"4", 0, L"const name"},
                                                   {L"5", 0, L"Yes"},
                                                   {L"6", 7, L"No"},
                                                   {L"8", 9, L"indexed"},
                                                   {L"10", 0, L"null-terminated"},
                                                   {L"11", 0, L""}}));
}

TEST_F(SystemValuesTest, AddingQueriesAndReplacementFindOnlyEqualIdentifiers) {
    values.AddValue(SystemValue(SystemValueID(GroupID(L"071424"), 0), L"a"));
    values.AddValue(71218, L"b");
    values.AddValue(71424, 1, L"c");
    values.AddValue(71424, L"abc");
    // Adding an equal identifier again replaces the whole value in place, identifier text too.
    EXPECT_EQ(
        Entries(values),
        (std::vector<Entry>{{L"71424", 0, L"abc"}, {L"71218", 0, L"b"}, {L"71424", 1, L"c"}}));

    EXPECT_TRUE(values.Exists(SystemValueID(GroupID(L"+71424"), 1)));
    EXPECT_FALSE(values.Exists(ID(71424, 2)));

    SystemValue out(ID(1), L"untouched");
    EXPECT_FALSE(values.TryGetValue(ID(71425), out));
    EXPECT_EQ(out.id, ID(1));
    EXPECT_EQ(out.text, L"untouched");
    EXPECT_TRUE(values.TryGetValue(SystemValueID(GroupID(L"071424"), 0), out));
    EXPECT_EQ(out.id.group.GetText(), L"71424");
    EXPECT_EQ(out.text, L"abc");

    EXPECT_EQ(values.GetValue(ID(71424)).text, L"abc");

    EXPECT_FALSE(values.ReplaceValue(SystemValue(ID(71424, 2), L"new")));
    EXPECT_TRUE(values.ReplaceValue(SystemValue(ID(71424), L"def")));
    EXPECT_EQ(
        Entries(values),
        (std::vector<Entry>{{L"71424", 0, L"def"}, {L"71218", 0, L"b"}, {L"71424", 1, L"c"}}));

    // Another index of the group is no match.
    try {
        values.GetValue(ID(71218, 1));
        FAIL() << "no exception";
    } catch (const Exception& failure) {
        EXPECT_EQ(failure.GetMessageText(), L"Value 71218#1 not present.");
        EXPECT_EQ(failure.GetPlace(), L"rigel::SystemValues::GetValue");
    }
    // Handlers for standard exceptions see it too.
    EXPECT_THROW(values.GetValue(SystemValueID(GroupID(L"x"), 2)), std::exception);
}

TEST_F(SystemValuesTest, StandardExceptionsOfALookupAreWrapped) {
    const wchar_t* find = L"Error: \"no memory\" while trying to find value: 071424#3.";
    const wchar_t* get = L"Error: \"no memory\" while trying to get value: 071424#3.";
    for (const auto& [lookup, message, place] :
         {std::tuple{SystemValues::Lookup::kExists, find, L"rigel::SystemValues::Exists"},
          std::tuple{SystemValues::Lookup::kReplaceValue, find,
                     L"rigel::SystemValues::ReplaceValue"},
          std::tuple{SystemValues::Lookup::kTryGetValue, get,
                     L"rigel::SystemValues::TryGetValue"}}) {
        const SystemValueID id(GroupID(L"071424"), 3);
        try {
            SystemValues::Guarded(lookup, id,
                                  []() -> bool { throw std::runtime_error("no memory"); });
            ADD_FAILURE() << "no exception for " << place;
        } catch (const Exception& failure) {
            EXPECT_EQ(failure.GetMessageText(), message);
            EXPECT_EQ(failure.GetPlace(), place);
        }
        EXPECT_TRUE(SystemValues::Guarded(lookup, id, [] { return true; }));
    }
}

TEST_F(SystemValuesTest, IsIntelCPUReadsTheProcessorFlag) {
    EXPECT_FALSE(values.IsIntelCPU());

    values.AddValue(71256, 1, L"Yes");  // another index does not count
    EXPECT_FALSE(values.IsIntelCPU());

    Log::Instance().SetLevel(Log::kMark);
    values.AddValue(71256, L"No");
    EXPECT_FALSE(values.IsIntelCPU());
    values.AddValue(71256, L"Yes");
    machine.debugOutput.chunks.clear();
    EXPECT_TRUE(values.IsIntelCPU());
    EXPECT_EQ(
        machine.LogMessages(),
        (std::vector<std::wstring>{L"Entering: rigel::SystemValues::IsIntelCPU", L"Is Intel = Yes",
                                   L"Exiting: rigel::SystemValues::IsIntelCPU"}));
}

TEST_F(SystemValuesTest, ManyValuesKeepTheirOrderAndPlaces) {
    constexpr std::uint32_t kCount = 20000;
    for (std::uint32_t i = 0; i < kCount; ++i) values.AddValue(i % 100, i / 100, L"first");
    for (std::uint32_t i = kCount; i-- > 0;) values.AddValue(i % 100, i / 100, std::to_wstring(i));
    ASSERT_EQ(values.Values().size(), kCount);
    EXPECT_FALSE(values.Exists(ID(100, 0)));
    EXPECT_FALSE(values.Exists(ID(0, kCount / 100)));
    for (std::uint32_t i = 0; i < kCount; ++i) {
        const SystemValue& value = values.Values()[i];
        ASSERT_EQ(value.id, ID(i % 100, i / 100));
        ASSERT_EQ(value.text, std::to_wstring(i));
    }
}

// Indexes far apart, out of order and at the 32-bit limit: each is found again, replaced in place
// and never filed twice, whichever way the store first filed it.
TEST_F(SystemValuesTest, ScatteredIndexesAreFoundAndReplacedWhereverTheyWereFiled) {
    const std::vector<std::uint32_t> indexes = {0, 200, 4294967295u, 1, 150, 199, 201, 90000, 300};
    for (std::uint32_t index : indexes) values.AddValue(71000, index, L"first");
    for (std::uint32_t index = 0; index < 260; ++index) values.AddValue(71000, index, L"dense");
    for (std::uint32_t index : indexes) values.AddValue(71000, index, std::to_wstring(index));

    EXPECT_EQ(values.Values().size(), 260u + 3u);
    for (std::uint32_t index : indexes) {
        EXPECT_EQ(values.GetValue(ID(71000, index)).text, std::to_wstring(index));
    }
    EXPECT_EQ(values.Values()[1].id, ID(71000, 200));
    EXPECT_EQ(values.Values()[2].id, ID(71000, 4294967295u));
    EXPECT_FALSE(values.Exists(ID(71000, 4294967294u)));
    EXPECT_FALSE(values.Exists(ID(71001, 0)));
}

}  // namespace
}  // namespace rigel
