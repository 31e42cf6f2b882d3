#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <locale>
#include <memory>
#include <string>

#include "diag/log.h"
#include "support/fake_machine.h"
#include "values/count.h"
#include "values/exists.h"
#include "values/name.h"

namespace rigel {
namespace {

class SimpleValuesTest : public ::testing::Test {
  protected:
    test::FakeMachine machine_;
};

TEST_F(SimpleValuesTest, NameKeepsItsTextAndComparesExactly) {
    EXPECT_STREQ(Name(static_cast<const wchar_t*>(nullptr)).ToString(), L"");
    EXPECT_STREQ(Name().ToString(), L"");
    EXPECT_STREQ(Name(std::wstring(L" Intel(R) HD ")).ToString(), L" Intel(R) HD ");

    EXPECT_TRUE(Name(L"Realtek") == Name(std::wstring(L"Realtek")));
    EXPECT_FALSE(Name(L"Realtek") == Name(L"realtek"));
    EXPECT_FALSE(Name(L"Realtek") == Name(L"Realtek "));
    EXPECT_FALSE(Name(L"") == Name(L" "));

    Name name(L"first");
    name = std::wstring(L"second");
    EXPECT_STREQ(name.ToString(), L"second");
    name = static_cast<const wchar_t*>(nullptr);
    EXPECT_STREQ(name.ToString(), L"");
    name = L"third";
    EXPECT_STREQ(name.ToString(), L"third");
}

TEST_F(SimpleValuesTest, CountIsPlainDecimal) {
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

TEST_F(SimpleValuesTest, CountTextIsSharedByTheClass) {
    Count first(12);
    Count second(std::numeric_limits<std::uint64_t>::max());
    const wchar_t* firstText = first.ToString();
    EXPECT_STREQ(firstText, L"12");
    second.ToString();
    EXPECT_STREQ(firstText, L"18446744073709551615");
}

TEST_F(SimpleValuesTest, ExistsParsesBySubstring) {
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
}

TEST_F(SimpleValuesTest, ExistsFromFlag) {
    EXPECT_STREQ(Exists().ToString(), L"No");
    EXPECT_STREQ(Exists(true).ToString(), L"Yes");
    Exists exists;
    exists = true;
    EXPECT_TRUE(exists.Get());
    exists = Exists(false);
    EXPECT_FALSE(exists.Get());
}

TEST_F(SimpleValuesTest, ClonesAreIndependent) {
    Name name(L"Audio");
    std::unique_ptr<Name> nameCopy(name.Clone());
    name = L"Video";
    EXPECT_STREQ(nameCopy->ToString(), L"Audio");

    Exists exists(true);
    std::unique_ptr<Exists> existsCopy(exists.Clone());
    exists = false;
    EXPECT_STREQ(existsCopy->ToString(), L"Yes");

    Count count(3);
    std::unique_ptr<Count> countCopy(count.Clone());
    count = Count(4);
    EXPECT_STREQ(countCopy->ToString(), L"3");
}

}  // namespace
}  // namespace rigel
