#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <locale>
#include <memory>
#include <string>

#include "support/fake_machine.h"
#include "values/count.h"
#include "values/exists.h"
#include "values/name.h"
#include "values/resolution.h"
#include "values/size.h"
#include "values/speed.h"
#include "values/version.h"

namespace rigel {
namespace {

class SimpleValuesTest : public ::testing::Test {
  protected:
    test::FakeMachine machine_;
};

TEST_F(SimpleValuesTest, NameKeepsItsTextAndComparesExactly) {
    EXPECT_STREQ(Name(static_cast<const wchar_t*>(nullptr)).ToString(), L"");
    EXPECT_STREQ(Name(std::wstring(L" Intel(R) HD ")).ToString(), L" Intel(R) HD ");

    EXPECT_TRUE(Name(L"Realtek") == Name(std::wstring(L"Realtek")));
    EXPECT_FALSE(Name(L"Realtek") == Name(L"realtek"));
    EXPECT_FALSE(Name(L"Realtek") == Name(L"Realtek "));
    EXPECT_FALSE(Name(L"") == Name(L" "));

    Name name(L"first");
    name = static_cast<const wchar_t*>(nullptr);
    EXPECT_STREQ(name.ToString(), L"");
}

TEST_F(SimpleValuesTest, CountIsPlainDecimalInOneTextSharedByTheClass) {
    const struct {
        std::uint64_t count;
        const wchar_t* text;
    } cases[] = {
        {0, L"0"},
        {7, L"7"},
        {1000000, L"1000000"},
        {std::numeric_limits<std::uint64_t>::max(), L"18446744073709551615"},
    };
    for (const auto& c : cases) {
        EXPECT_STREQ(Count(c.count).ToString(), c.text) << c.count;
    }

    Count first(12);
    Count second(34);
    const wchar_t* firstText = first.ToString();
    second.ToString();
    EXPECT_STREQ(firstText, L"34");
}

// A numpunct that groups thousands, as a user's locale might.
class Grouping : public std::numpunct<wchar_t> {
  protected:
    wchar_t do_thousands_sep() const override { return L','; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(SimpleValuesTest, CountIgnoresTheGlobalLocale) {
    // The locale takes ownership of the facet.
    const std::locale previous =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const std::wstring text = Count(1234567).ToString();
    std::locale::global(previous);
    EXPECT_EQ(text, L"1234567");
}

TEST_F(SimpleValuesTest, ExistsParsesBySubstringAndPrintsYesOrNo) {
    const struct {
        const wchar_t* text;
        bool flag;
    } cases[] = {
        {L"", false},           {L"No", false},       {L"0", false},  {L"none", false},
        {L"FALSE", false},      {L"disabled", false}, {L"Yes", true}, {L"yes", true},
        {L"True", true},        {L"1", true},         {L"10", true},  {L"not available", true},
        {L"Not present", true},
    };
    for (const auto& c : cases) {
        Exists exists{std::wstring(c.text)};
        EXPECT_EQ(exists.Get(), c.flag) << c.text;
        EXPECT_STREQ(exists.ToString(), c.flag ? L"Yes" : L"No") << c.text;
    }
    EXPECT_STREQ(Exists().ToString(), L"No");
    Exists exists;
    exists = true;
    EXPECT_STREQ(exists.ToString(), L"Yes");
}

// A clone keeps the text of its original after the original changes.
template <typename T>
void ExpectIndependentClone(T original, const T& other) {
    const std::wstring text = original.ToString();
    const std::unique_ptr<T> clone(original.Clone());
    original = other;
    ASSERT_NE(original.ToString(), text);
    EXPECT_EQ(clone->ToString(), text);
}

TEST_F(SimpleValuesTest, ClonesOfEveryValueAreIndependent) {
    Speed speed;
    speed = L"800";
    Resolution resolution;
    EXPECT_STREQ(resolution.ToString(), L"");
    resolution = std::wstring(L"1920 x 1080");

    ExpectIndependentClone(Name(L"Audio"), Name(L"Video"));
    ExpectIndependentClone(Count(3), Count(4));
    ExpectIndependentClone(Exists(true), Exists(false));
    ExpectIndependentClone(Size(std::uint64_t{1536}), Size());
    ExpectIndependentClone(speed, Speed());
    ExpectIndependentClone(Version(L"6.1"), Version(L"6.2"));
    ExpectIndependentClone(resolution, Resolution());
}

}  // namespace
}  // namespace rigel
