#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "diag/log.h"
#include "support/fake_machine.h"
#include "values/version.h"

namespace rigel {
namespace {

class VersionTest : public ::testing::Test {
  protected:
    VersionTest() { Log::Instance().SetLevel(Log::kMaxLevel); }

    test::FakeMachine machine_;
};

TEST_F(VersionTest, QuantityPacksFourComponentsAndStopsAtTheFirstTokenThatIsNotANumber) {
    const struct {
        const wchar_t* text;
        std::uint64_t key;
        bool fails;
    } cases[] = {
        {L"6.1.7601.17514", 0x600011DB1446A, false},
        {L"1.2", 0x1000200000000, false},
        {L"1.2.0", 0x1000200000000, false},
        {L"1.2.0.0", 0x1000200000000, false},
        {L"7", 0x700000000, false},  // a lone component lands one field lower
        {L"0.0", 0, false},
        {L"", 0, false},
        {L"1.2.3.4 b", 0x1000200030046,
         false},  // the fifth token is never read; its letter is added
        {L"1.2.3.4.5", 0x1000200030004, false},
        {L"1-2_3 4", 0x1000200030004, false},
        {L"1..2,,3 4", 0x1000200030004, false},
        {L"..1.2", 0x1000200000000, false},
        {L"+5.+1", 0x5000100000000, false},
        {L"2.65536", 0x3000000000000, false},  // a wide component overlaps the one before
        {L"18446744073709551615", 0xFFFFFFFF00000000, false},
        // A failure keeps the components and shifts made so far, and adds no letter.
        {L"6.1.7601 Service Pack 1", 0x600011DB10000, true},
        {L"9.0c", 0x90000, true},
        {L"9.0C", 0x90000, true},
        {L"1.2 a", 0x100020000, true},
        {L"beta", 0, true},
        {L"1.18446744073709551616", 0x10000, true},  // beyond 64 bits
        {L"1.0x10", 0x10000, true},
    };
    for (const auto& c : cases) {
        machine_.debugOutput.chunks.clear();
        EXPECT_EQ(Version(c.text).Quantity(), c.key) << c.text;
        // The line after the time and elapsed columns, at the error level.
        const std::vector<std::wstring> lines = machine_.LogLines();
        ASSERT_EQ(lines.size(), c.fails ? 1u : 0u) << c.text;
        if (c.fails) {
            EXPECT_EQ(lines[0].substr(18), L"ERR   | Error in Version::Quantity.") << c.text;
        }
    }
}

TEST_F(VersionTest, ComparesByKeyOnly) {
    EXPECT_TRUE(Version(L"1.9") < Version(L"1.10"));
    EXPECT_FALSE(Version(L"1.10") < Version(L"1.9"));
    EXPECT_TRUE(Version(L"10") < Version(L"2.0"));
    EXPECT_TRUE(Version(L"1.2.3.4 b") == Version(L"1.2.3.4 B"));
    EXPECT_TRUE(Version(L"1.2.3.4") < Version(L"1.2.3.4 a"));
    EXPECT_FALSE(Version(L"1.2") == Version(L"1.3"));
    // Keys above 2^63 still order as unsigned numbers.
    EXPECT_TRUE(Version(L"1.0") < Version(L"65535.0"));
}

TEST_F(VersionTest, ConstructionAndText) {
    EXPECT_STREQ(Version().ToString(), L"0.0");
    EXPECT_TRUE(Version().IsValid());
    EXPECT_STREQ(Version(static_cast<const wchar_t*>(nullptr)).ToString(), L"");
    EXPECT_FALSE(Version(static_cast<const wchar_t*>(nullptr)).IsValid());
    EXPECT_STREQ(Version(std::wstring(L"9.0c")).ToString(), L"9.0c");
    EXPECT_STREQ(Version(std::uint64_t{7}).ToString(), L"7");
    Version zero(std::uint64_t{0});
    EXPECT_STREQ(zero.ToString(), L"0");
    EXPECT_EQ(zero.Quantity(), 0u);

    Version version(L"1.0");
    version = L"2.0 ";
    EXPECT_STREQ(version.ToString(), L"2.0 ");
    version = static_cast<const wchar_t*>(nullptr);
    EXPECT_FALSE(version.IsValid());
}

}  // namespace
}  // namespace rigel
