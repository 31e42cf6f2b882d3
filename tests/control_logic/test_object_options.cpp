#include <gtest/gtest.h>

#include <set>
#include <utility>
#include <vector>

#include "control/logic/parameter_tags.h"
#include "control/logic/safety_options.h"
#include "control/logic/sys_info_dispid.h"

namespace rigel {
namespace {

TEST(SafetyOptions, ChangesOnlyTheMaskedSupportedBitsAndNoneOnWhileNotPermitted) {
    SafetyOptions options;
    EXPECT_EQ(options.Enabled(true), 0u);
    const struct {
        std::uint32_t mask;
        std::uint32_t enabled;
        bool permitted;
        bool accepted;
        std::uint32_t after;
    } steps[] = {{2, 3, true, true, 2},   {1, 1, true, true, 3},   {4, 4, true, false, 3},
                 {7, 0, true, false, 3},  {2, 0, true, true, 1},   {0, 3, true, true, 1},
                 {2, 2, false, false, 1}, {3, 1, false, false, 1}, {1, 0, false, true, 0},
                 {3, 3, true, true, 3}};
    for (const auto& step : steps) {
        EXPECT_EQ(options.Set(step.mask, step.enabled, step.permitted), step.accepted) << step.mask;
        EXPECT_EQ(options.Enabled(true), step.after) << step.mask;
    }
    // A control its site lock keeps inactive tells its container it is safe for nothing.
    EXPECT_EQ(options.Enabled(false), 0u);
    EXPECT_EQ(SafetyOptions::Supported(false), 0u);
    EXPECT_EQ(SafetyOptions::Supported(true), 3u);
}

using Applied = std::vector<std::pair<std::int32_t, std::wstring>>;

// Loads from a bag that holds the given keys, each with the text key + " text" but SESSION_ID,
// whose text is empty.
Applied LoadFrom(const std::set<std::wstring>& held, std::vector<std::wstring>& reads) {
    Applied applied;
    ParameterTags::Load(
        [&](const std::wstring& key, std::wstring& text) {
            reads.push_back(key);
            text = key == L"SESSION_ID" ? L"" : key + L" text";
            return held.count(key) == 1;
        },
        [&](std::int32_t dispid, const std::wstring& text) { applied.emplace_back(dispid, text); });
    return applied;
}

TEST(ParameterTags, LoadReadsEveryTagInOrderAndHandsThePresentOnesToTheirProperties) {
    std::vector<std::wstring> reads;
    EXPECT_EQ(LoadFrom({L"LOGGING", L"SESSION_ID", L"REFERRER_ID", L"USER_ID", L"DEBUG"}, reads),
              (Applied{{kDispidLogging, L"LOGGING text"},
                       {kDispidSessionID, L""},
                       {kDispidReferrerID, L"REFERRER_ID text"},
                       {kDispidUserID, L"USER_ID text"},
                       {kDispidDebug, L"DEBUG text"}}));
    EXPECT_EQ(reads, (std::vector<std::wstring>{L"LOGGING", L"SESSION_ID", L"REFERRER_ID",
                                                L"USER_ID", L"DEBUG"}));

    EXPECT_EQ(LoadFrom({L"DEBUG", L"SESSION_ID"}, reads),
              (Applied{{kDispidSessionID, L""}, {kDispidDebug, L"DEBUG text"}}));
}

}  // namespace
}  // namespace rigel
