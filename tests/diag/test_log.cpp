#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "diag/log.h"
#include "diag/scope_trace.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

class LogTest : public ::testing::Test {
  protected:
    LogTest() { machine.clock.localTime = os::TimeOfDay{14, 3, 27}; }

    // The elapsed text of a prefix built at the given tick, after a first prefix at tick 1000.
    std::wstring ElapsedAt(std::uint32_t tick) {
        machine.clock.tickCount = 1000;
        log().Prefix(Log::kTrace);
        machine.clock.tickCount = tick;
        return log().Prefix(Log::kTrace).substr(10, log().Prefix(Log::kTrace).find(L' ', 10) - 10);
    }

    static Log& log() { return Log::Instance(); }

    test::FakeMachine machine;
};

TEST_F(LogTest, PrefixIsTimeElapsedAndLevelNameInFiveColumnsUnknownLevelsUnnamed) {
    // The first prefix of the process has zero elapsed, padded to six characters.
    machine.clock.tickCount = 5000;
    EXPECT_EQ(log().Prefix(Log::kError), L"14:03:27  000000  ERR   | ");
    const std::vector<std::pair<int, std::wstring>> cases = {
        {1, L"ERR   | "}, {2, L"WARN  | "}, {3, L"TRACE | "},
        {4, L"MARK  | "}, {5, L"DUMP  | "}, {6, L"      | "},
    };
    for (const auto& [level, tail] : cases) {
        EXPECT_EQ(log().Prefix(level).substr(18), tail) << "level " << level;
    }
    machine.clock.localTime = os::TimeOfDay{7, 5, 9};
    EXPECT_EQ(log().Prefix(Log::kError).substr(0, 10), L"07:05:09  ");
}

TEST_F(LogTest, ElapsedSecondsArePaddedWithZerosOnTheRightAndNeverCut) {
    const std::vector<std::pair<std::uint32_t, std::wstring>> cases = {
        {2500, L"1.5000"},  {3000, L"200000"},    {1015, L"0.0150"},
        {13250, L"12.250"}, {124456, L"123.456"}, {1235567, L"1234.57"},
    };
    for (const auto& [tick, expected] : cases) {
        test::FreshProcessState();
        EXPECT_EQ(ElapsedAt(tick), expected) << "tick " << tick;
    }
}

TEST_F(LogTest, LineIsPrefixMessageAndLineFeedInOneDebuggerChunk) {
    log().SetLevel(3);
    machine.clock.tickCount = 1000;
    log().Line(Log::kTrace, L"len= ", 12, L" s= ", -1);
    machine.clock.tickCount = 2500;
    log().Line(Log::kError, "narrow ", std::wstring(L"wide"));
    ASSERT_EQ(machine.debugOutput.chunks.size(), 2u);
    EXPECT_EQ(machine.debugOutput.chunks[0], L"14:03:27  000000  TRACE | len= 12 s= -1\n");
    EXPECT_EQ(machine.debugOutput.chunks[1], L"14:03:27  1.5000  ERR   | narrow wide\n");
}

TEST_F(LogTest, LevelZeroWritesNothingAtAnyLevel) {
    for (int level = 1; level <= 5; ++level) log().Line(level, L"message");
    { ScopeTrace trace(L"rigel::Quiet"); }
    EXPECT_TRUE(machine.debugOutput.chunks.empty());
}

TEST_F(LogTest, SetLevelCapsAtSevenAndHasNoLowerBound) {
    log().SetLevel(99);
    EXPECT_EQ(log().GetLevel(), 7);
    EXPECT_TRUE(log().IsEnabled(7));
    EXPECT_FALSE(log().IsEnabled(8));
    log().SetLevel(-5);
    EXPECT_FALSE(log().IsEnabled(0));
    log().SetLevel(3);
    EXPECT_TRUE(log().IsEnabled(Log::kError));
    EXPECT_TRUE(log().IsEnabled(Log::kTrace));
    EXPECT_FALSE(log().IsEnabled(Log::kMark));
}

TEST_F(LogTest, ScopeTraceNeedsLevelFourAndWritesItsExitLineEvenAfterTheLevelWasLowered) {
    log().SetLevel(3);
    { ScopeTrace trace(L"rigel::System::Detect"); }
    EXPECT_TRUE(machine.LogLines().empty());

    log().SetLevel(4);
    {
        ScopeTrace trace(L"rigel::System::Detect");
        log().Line(Log::kTrace, L"inside");
    }
    EXPECT_EQ(
        machine.LogLines(),
        (std::vector<std::wstring>{L"14:03:27  000000  MARK  | Entering: rigel::System::Detect",
                                   L"14:03:27  000000  TRACE | . inside",
                                   L"14:03:27  000000  MARK  | Exiting: rigel::System::Detect"}));

    machine.debugOutput.chunks.clear();
    {
        ScopeTrace trace(L"rigel::Outer");
        log().SetLevel(0);
    }
    EXPECT_EQ(machine.LogMessages(),
              (std::vector<std::wstring>{L"Entering: rigel::Outer", L"Exiting: rigel::Outer"}));
}

TEST_F(LogTest, IndentStopsAtTenGroupsAndReturnsToZero) {
    log().SetLevel(5);
    {
        std::vector<std::unique_ptr<ScopeTrace>> nested;
        for (int depth = 0; depth < 11; ++depth) {
            nested.push_back(
                std::make_unique<ScopeTrace>(L"rigel::Level" + std::to_wstring(depth)));
        }
        log().Line(Log::kDump, L"deep");
        while (!nested.empty()) nested.pop_back();
    }
    log().Line(Log::kDump, L"after");

    const auto lines = machine.LogLines();
    ASSERT_EQ(lines.size(), 24u);
    std::wstring tenGroups;
    for (int i = 0; i < 10; ++i) tenGroups += L". ";
    EXPECT_EQ(lines[10], L"14:03:27  000000  MARK  | " + tenGroups + L"Entering: rigel::Level10");
    EXPECT_EQ(lines[11], L"14:03:27  000000  DUMP  | " + tenGroups + L"deep");
    // Ten indents were granted, so the eleventh outdent has nothing left to undo.
    EXPECT_EQ(lines[12],
              L"14:03:27  000000  MARK  | " + tenGroups.substr(2) + L"Exiting: rigel::Level10");
    EXPECT_EQ(lines[22], L"14:03:27  000000  MARK  | Exiting: rigel::Level0");
    EXPECT_EQ(lines[23], L"14:03:27  000000  DUMP  | after");
}

}  // namespace
}  // namespace rigel
