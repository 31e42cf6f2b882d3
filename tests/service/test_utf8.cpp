#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "service/utf8.h"

namespace rigel {
namespace {

using namespace std::string_literals;

TEST(Utf8Test, EachSequenceLengthEncodesAndDecodes) {
    const std::pair<std::wstring, std::string> cases[] = {
        {L"", ""},
        {L"A~", "A~"},
        {std::wstring(L"a\0b", 3), "a\0b"s},  // an embedded NUL is a character like any other
        {L"\u00e9\u07ff", "\xC3\xA9\xDF\xBF"},
        {L"\u0800\u20ac\uffff", "\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBF"},
        {L"\U0001F600\U0010FFFF", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
        {L"Gr\u00fc\u00dfe \u4e2d\u6587 <&>",
         "Gr\xC3\xBC\xC3\x9F"
         "e \xE4\xB8\xAD\xE6\x96\x87 <&>"},
    };
    for (const auto& [wide, bytes] : cases) {
        EXPECT_EQ(Utf8::Encode(wide), bytes);
        EXPECT_EQ(Utf8::Decode(bytes), wide);
    }
}

TEST(Utf8Test, EachMaximalBadSubsequenceBecomesOneReplacementCharacter) {
    const std::wstring bad = L"\uFFFD";
    EXPECT_EQ(Utf8::Decode("\x80"), bad);                      // stray continuation byte
    EXPECT_EQ(Utf8::Decode("\xBF\x80"), bad + bad);            // two of them
    EXPECT_EQ(Utf8::Decode("\xC0\xAF"), bad + bad);            // overlong lead, never valid
    EXPECT_EQ(Utf8::Decode("\xE0\x80\xAF"), bad + bad + bad);  // overlong three-byte form
    EXPECT_EQ(Utf8::Decode("\xED\xA0\x80"), bad + bad + bad);  // encoded surrogate
    EXPECT_EQ(Utf8::Decode("\xF4\x90\x80\x80"), bad + bad + bad + bad);  // beyond U+10FFFF
    EXPECT_EQ(Utf8::Decode("\xF5\xFF\xFE"), bad + bad + bad);
    EXPECT_EQ(Utf8::Decode("\xE2\x82(x"), bad + L"(x");    // truncated, next byte kept
    EXPECT_EQ(Utf8::Decode("x\xF0\x9F\x98"), L"x" + bad);  // truncated at the end
    EXPECT_EQ(Utf8::Decode("\xC3"), bad);
}

TEST(Utf8Test, SurrogatePairsOnSixteenBitWideCharacters) {
    if constexpr (sizeof(wchar_t) == 2) {
        const std::wstring pair{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
        EXPECT_EQ(Utf8::Encode(pair), "\xF0\x9F\x98\x80");
        EXPECT_EQ(Utf8::Decode("\xF0\x9F\x98\x80"), pair);
        EXPECT_EQ(Utf8::Decode("\xF4\x8F\xBF\xBF"),
                  (std::wstring{static_cast<wchar_t>(0xDBFF), static_cast<wchar_t>(0xDFFF)}));

        // A surrogate without its partner cannot be encoded.
        const std::wstring lone{L'a', static_cast<wchar_t>(0xD83D), L'b',
                                static_cast<wchar_t>(0xDE00)};
        EXPECT_EQ(Utf8::Encode(lone),
                  "a\xEF\xBF\xBD"
                  "b\xEF\xBF\xBD");
        const std::wstring reversed{static_cast<wchar_t>(0xDE00), static_cast<wchar_t>(0xD83D)};
        EXPECT_EQ(Utf8::Encode(reversed), "\xEF\xBF\xBD\xEF\xBF\xBD");
    } else {
        GTEST_SKIP() << "wchar_t holds whole code points here";
    }
}

TEST(Utf8Test, InvalidCodePointsOnThirtyTwoBitWideCharacters) {
    if constexpr (sizeof(wchar_t) == 4) {
        // Surrogates and values beyond the last code point are not characters.
        const std::wstring invalid{static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000),
                                   static_cast<wchar_t>(-1)};
        EXPECT_EQ(Utf8::Encode(invalid), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
    } else {
        GTEST_SKIP() << "wchar_t holds UTF-16 code units here";
    }
}

}  // namespace
}  // namespace rigel
