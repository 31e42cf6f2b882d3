#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "service/bandwidth.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

class BandwidthTest : public ::testing::Test {
  protected:
    test::FakeMachine machine_;
};

// Rounding and reading the number are shared with sizes and speeds and tested with them; these
// rows pin this ladder of units and its own texts.
TEST_F(BandwidthTest, FormatsInStepsOf1024WithOneRoundedDecimal) {
    const struct {
        const wchar_t* text;
        const wchar_t* formatted;
    } cases[] = {
        {L"0 bps", L"0.0 bps"},
        {L"", L"0.0 bps"},  // a test that did not complete
        {L"1023", L"1023.0 bps"},
        {L"1024 bps", L"1.0 Kbps"},
        {L"1602144 bps", L"1.5 Mbps"},
        {L"8388608 bps", L"8.0 Mbps"},
        {L"1073741824 bps", L"1.0 Gbps"},
        {L"1099511627776 bps", L"1024.0 Gbps"},  // no unit beyond Gbps
    };
    for (const auto& c : cases) {
        EXPECT_STREQ(Bandwidth(c.text).ToString(), c.formatted) << c.text;
    }
}

TEST_F(BandwidthTest, ParsesTheLeadingNumberAndTheFirstLargerUnitFound) {
    const struct {
        const wchar_t* text;
        std::uint64_t bitsPerSecond;
    } cases[] = {
        {L"2.5 Mbps", 2621440},
        {L"1.5GBPS", 1610612736},
        {L"7.9 bps", 7},              // truncated toward zero
        {L"2 Mbps or 2 Kbps", 2048},  // KBPS is looked for first
        {L"4 Mb", 4},                 // not a unit of this scale
        {L"fast 5 Mbps", 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Bandwidth(c.text).GetBitsPerSecond(), c.bitsPerSecond) << c.text;
    }
}

TEST_F(BandwidthTest, ShareOneResultTextAndCloneKeepsTheRate) {
    Bandwidth slow(L"512 bps");
    Bandwidth fast(L"2.5 Mbps");
    const wchar_t* first = slow.ToString();
    EXPECT_EQ(fast.ToString(), first);
    EXPECT_STREQ(first, L"2.5 Mbps");

    const std::unique_ptr<Bandwidth> clone(fast.Clone());
    EXPECT_EQ(clone->GetBitsPerSecond(), 2621440u);
    EXPECT_STREQ(clone->ToString(), L"2.5 Mbps");
}

}  // namespace
}  // namespace rigel
