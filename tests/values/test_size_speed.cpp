#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "diag/log.h"
#include "support/fake_machine.h"
#include "values/size.h"
#include "values/speed.h"

namespace rigel {
namespace {

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

Speed SpeedOf(const wchar_t* text) {
    Speed speed;
    speed = text;
    return speed;
}

class SizeSpeedTest : public ::testing::Test {
  protected:
    test::FakeMachine machine_;
};

TEST_F(SizeSpeedTest, SizeFormatsWithOneRoundedDecimal) {
    const struct {
        std::uint64_t bytes;
        const wchar_t* text;
    } cases[] = {
        {0, L"0.0 B"},
        {1023, L"1023.0 B"},
        {1024, L"1.0 KB"},
        {1280, L"1.3 KB"},  // exactly 1.25: halfway rounds up
        {1536, L"1.5 KB"},
        {1048524, L"1023.9 KB"},
        {1048535, L"1024.0 KB"},  // scaled before rounding
        {10189, L"10.0 KB"},      // 9.95 carries through two places
        {536870912, L"512.0 MB"},
        {4294967296, L"4.0 GB"},
        {1125899906842624, L"1024.0 TB"},  // no unit beyond TB
        {kMax, L"16777216.0 TB"},
    };
    for (const auto& c : cases) {
        EXPECT_STREQ(Size(c.bytes).ToString(), c.text) << c.bytes;
    }
}

TEST_F(SizeSpeedTest, SpeedFormatsWithOneRoundedDecimal) {
    const struct {
        const wchar_t* hertz;
        const wchar_t* text;
    } cases[] = {
        {L"800", L"800.0 Hz"},
        // 1.45 and 1.95 are stored just below the half; their 17-digit expansions are not.
        {L"1450", L"1.5 KHz"},
        {L"1950", L"2.0 KHz"},
        {L"999999", L"1000.0 KHz"},
        {L"2394000000", L"2.4 GHz"},
        {L"3000000000000", L"3000.0 GHz"},
        {L"18446744073709551615", L"18446744073.7 GHz"},
    };
    for (const auto& c : cases) {
        EXPECT_STREQ(SpeedOf(c.hertz).ToString(), c.text) << c.hertz;
    }
}

TEST_F(SizeSpeedTest, SizeParsesNumberAndFirstUnit) {
    const struct {
        const wchar_t* text;
        std::uint64_t bytes;
    } cases[] = {
        {L"512 MB", 536870912},
        {L"1.5GB", 1610612736},
        {L"  2 tb \t", 2199023255552},
        {L"4096", 4096},
        {L"1.5 kb", 1536},
        {L"2 MB (2048 KB)", 2048},  // KB is searched first
        {L"KB", 0},
        {L"about 4 GB", 0},
        {L"1.2.3 KB", 1228},  // the number ends at the second point; truncated
        {L"+3", 3},
        {L"1e3 MB", 1048576},                     // an exponent is not part of the number
        {L"-5 KB", 0},                            // no negative amounts
        {L"8388608 TB", 9223372036854775808ULL},  // top bit kept
        {L"16777216 TB", kMax},                   // 2^64 clamps
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Size(std::wstring(c.text)).GetBytes(), c.bytes) << c.text;
    }
}

TEST_F(SizeSpeedTest, SizeParseReportsNullText) {
    Log::Instance().SetLevel(Log::kWarning);
    Size size(std::uint64_t{5});
    EXPECT_FALSE(size.Parse(nullptr));
    EXPECT_EQ(size.GetBytes(), 0u);
    EXPECT_TRUE(size.Parse(L"3 KB"));
    EXPECT_EQ(size.GetBytes(), 3072u);
    EXPECT_EQ(machine_.LogMessages(), std::vector<std::wstring>{L"NULL parameter."});
}

TEST_F(SizeSpeedTest, SpeedParsesNumberAndFirstUnit) {
    const struct {
        const wchar_t* text;
        std::uint64_t hertz;
    } cases[] = {
        {L"2.4 GHz", 2400000000},
        {L"3200 MHz", 3200000000},
        {L" 1.5 khz", 1500},
        {L"800", 800},
        {L"2.4 G", 2},  // no unit text matches
        {L"1e3 MHz", 1000000000},
        {L"MHz", 0},
        {L"-1 GHz", 0},
        {L"99999999999 GHz", kMax},
    };
    for (const auto& c : cases) {
        const Speed speed = SpeedOf(c.text);
        EXPECT_EQ(speed.GetHertz(), c.hertz) << c.text;
        EXPECT_EQ(speed.IsValid(), c.hertz != 0) << c.text;
    }
    Speed speed = SpeedOf(L"1 GHz");
    speed = static_cast<const wchar_t*>(nullptr);
    EXPECT_EQ(speed.GetHertz(), 0u);
}

TEST_F(SizeSpeedTest, SizesCompareByBytes) {
    Size small(std::uint64_t{1023});
    const Size large(std::wstring(L"1 KB"));
    EXPECT_TRUE(small < large && !(large < small) && !(small == large));
    small.SetBytes(1024);
    EXPECT_TRUE(small == large && !(small < large));
}

}  // namespace
}  // namespace rigel
