#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "control/logic/parameter_tags.h"
#include "control/logic/safety_options.h"
#include "control/logic/sys_info_dispid.h"

namespace rigel {
namespace {

TEST(SafetyOptions, StartsWithNothingEnabled) { EXPECT_EQ(SafetyOptions().Enabled(), 0u); }

TEST(SafetyOptions, RejectsUnsupportedBitsWithoutChange) {
    SafetyOptions options;
    ASSERT_TRUE(options.Set(3, 3));
    EXPECT_FALSE(options.Set(4, 4));
    EXPECT_FALSE(options.Set(7, 0));
    EXPECT_EQ(options.Enabled(), 3u);
}

TEST(SafetyOptions, ChangesOnlyTheMaskedBits) {
    SafetyOptions options;
    ASSERT_TRUE(options.Set(2, 3));
    EXPECT_EQ(options.Enabled(), 2u);
    ASSERT_TRUE(options.Set(1, 1));
    EXPECT_EQ(options.Enabled(), 3u);
    ASSERT_TRUE(options.Set(2, 0));
    EXPECT_EQ(options.Enabled(), 1u);
    ASSERT_TRUE(options.Set(0, 3));
    EXPECT_EQ(options.Enabled(), 1u);
}

TEST(ParameterTags, LoadReadsEveryTagInOrderAndAppliesThePresentOnes) {
    std::vector<std::wstring> reads;
    std::vector<std::pair<std::int32_t, std::wstring>> applied;
    ParameterTags::Load(
        [&](const std::wstring& key, std::wstring& text) {
            reads.push_back(key);
            if (key == L"DEBUG") text = L"1";
            if (key == L"SESSION_ID") text.clear();
            return key == L"DEBUG" || key == L"SESSION_ID";
        },
        [&](std::int32_t dispid, const std::wstring& text) { applied.emplace_back(dispid, text); });

    const std::vector<std::wstring> expectedReads{L"LOGGING", L"SESSION_ID", L"REFERRER_ID",
                                                  L"USER_ID", L"DEBUG"};
    EXPECT_EQ(reads, expectedReads);
    const std::vector<std::pair<std::int32_t, std::wstring>> expectedApplied{
        {kDispidSessionID, L""}, {kDispidDebug, L"1"}};
    EXPECT_EQ(applied, expectedApplied);
}

TEST(ParameterTags, LoadHandsEachTagsTextToItsProperty) {
    std::vector<std::pair<std::int32_t, std::wstring>> applied;
    ParameterTags::Load(
        [](const std::wstring& key, std::wstring& text) {
            text = key + L" text";
            return true;
        },
        [&](std::int32_t dispid, const std::wstring& text) { applied.emplace_back(dispid, text); });

    const std::vector<std::pair<std::int32_t, std::wstring>> expected{
        {kDispidLogging, L"LOGGING text"},
        {kDispidSessionID, L"SESSION_ID text"},
        {kDispidReferrerID, L"REFERRER_ID text"},
        {kDispidUserID, L"USER_ID text"},
        {kDispidDebug, L"DEBUG text"}};
    EXPECT_EQ(applied, expected);
}

}  // namespace
}  // namespace rigel
