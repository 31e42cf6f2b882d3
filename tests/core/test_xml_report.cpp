#include <gtest/gtest.h>

#include <cstdint>
#include <cwctype>
#include <string>
#include <vector>

#include "core/data_service.h"
#include "core/system.h"
#include "core/system_values.h"
#include "core/xml_report.h"
#include "diag/log.h"
#include "support/fake_data_service.h"
#include "support/fake_machine.h"
#include "values/shared_text.h"

namespace rigel {
namespace {

using namespace std::string_literals;

std::wstring Group(std::uint32_t index, const std::wstring& id, const std::wstring& value) {
    return L"<group index=\"" + std::to_wstring(index) + L"\" id=\"" + id + L"\"><value>" + value +
           L"</value></group>";
}

std::wstring Report(const std::wstring& groups) { return L"<groups>" + groups + L"</groups>  "; }

class XMLReportTest : public ::testing::Test {
  protected:
    std::wstring ReportOf(const SystemValues& store) {
        std::wstring out = L"left over";
        XMLReport(store).GetReport(out);
        return out;
    }

    // Loads the groups that the data service enables for the referrer.
    void LoadGroups(const std::wstring& referrer, const std::wstring& list) {
        service.groupsResponse = L"header\n" + list + L"\n";
        System::Instance().GetReferrerGroups().Load(referrer);
    }

    test::FakeMachine machine;
    test::FakeDataService service;
    ScopedDataService serviceScope{service};
    SystemValues values;
};

// The report replaces what its output held.
TEST_F(XMLReportTest, EntriesFollowStoreOrderWithTheirIdTextsAndCleanedValues) {
    EXPECT_EQ(ReportOf(values), L"<groups></groups>  ");
    values.AddValue(71424, L"first");
    EXPECT_EQ(ReportOf(values),
              L"<groups><group index=\"0\" id=\"71424\"><value>first</value></group></groups>  ");
    values.AddValue(SystemValue(SystemValueID(GroupID(L"071218"), 4294967295u), L" a  &  b "));
    values.AddValue(71206, 2, L"say \"hi\" 'there'");
    values.AddValue(5, L"   ");
    values.AddValue(6, L"line\nbreak\n");
    values.AddValue(71424, L"replaced");
    // Attribute values are written as stored, without escaping.
    values.AddValues(L"<groups><group index=\"1\" id=\"7&x\"><value>v</value></group>");
    EXPECT_EQ(ReportOf(values),
              Report(Group(0, L"71424", L"replaced") + Group(4294967295u, L"071218", L"a &amp; b") +
                     Group(2, L"71206", L"say \"hi\" 'there'") + Group(0, L"5", L"") +
                     Group(0, L"6", L"line\nbreak") + Group(1, L"7&x", L"v")));
}

TEST_F(XMLReportTest, OnlyEnabledGroupsAndTheAlwaysReportedOnesAreWritten) {
    values.AddValue(71424, L"session");
    values.AddValue(71207, L"computer");
    values.AddValue(71218, L"referrer");
    values.AddValue(71465, L"No");
    values.AddValue(71466, 1, L"Yes");
    values.AddValue(99, L"other");
    const std::wstring always =
        Group(0, L"71207", L"computer") + Group(0, L"71465", L"No") + Group(1, L"71466", L"Yes");
    const std::wstring listed = Group(0, L"71207", L"computer") + Group(0, L"71218", L"referrer") +
                                Group(0, L"71465", L"No") + Group(1, L"71466", L"Yes") +
                                Group(0, L"99", L"other");
    const std::wstring everything = Report(Group(0, L"71424", L"session") + listed);

    // Before the list is loaded every group counts as enabled.
    EXPECT_EQ(ReportOf(values), everything);
    LoadGroups(L"r1", L"71218|99");
    EXPECT_EQ(ReportOf(values), Report(listed));
    LoadGroups(L"r2", L"");
    EXPECT_EQ(ReportOf(values), Report(always));
    System::Instance().SetDebug(L"1");
    EXPECT_EQ(ReportOf(values), everything);
}

TEST_F(XMLReportTest, ReportIsTraced) {
    System::Instance();  // its creation is traced too
    Log::Instance().SetLevel(Log::kMark);
    ReportOf(values);
    EXPECT_EQ(machine.LogMessages(),
              (std::vector<std::wstring>{L"Entering: rigel::XMLReport::GetReport",
                                         L"Exiting: rigel::XMLReport::GetReport"}));
}

TEST(CleanTextTest, TextsAreMadeSafeForXML) {
    test::FakeMachine machine;
    const std::vector<std::pair<std::wstring, std::wstring>> cases = {
        {L"abc", L"abc"},
        {L"", L""},
        {L"   ", L""},
        {L"  a  b   c  ", L"a b c"},
        {L"a \t b", L"a \t b"},
        {L"a\t\tb", L"a\t\tb"},
        {L"line\nbreak\n", L"line\nbreak"},
        {L"\r\n\t x \r\n", L"x"},
        {L"a&lt;b", L"a&amp;lt;b"},
        {L"<a href=\"x\">'y' & z</a>", L"&lt;a href=\"x\"&gt;'y' &amp; z&lt;/a&gt;"},
        {L"x\x85y", L"x\x85y"},
        {L"\x84\x7F\x9F\xA1", L"???\xA1"},
        {L"\x01\x08\x1F", L"???"},
        // Vertical tab and form feed are forbidden, so they become "?" before the trim.
        {L"\v x \f", L"? x ?"},
        {L"a  \0  b"s, L"a ? b"},
        {L"\xFDCF\xFDD0\xFDEF\xFDF0", L"\xFDCF??\xFDF0"},
        {L"\xFFFD\xFFFE\xFFFF", L"\xFFFD??"},
        {L"\xD7FF\xD800\xDBFF\xDC00\xDFFF\xE000", L"\xD7FF????\xE000"},
    };
    for (const auto& [text, cleaned] : cases) EXPECT_EQ(XMLReport::CleanText(text), cleaned);
    // White space is what the platform's iswspace says: on Windows, the ideographic space too.
    const std::wstring ideographic = L"\u3000a\u3000";
    EXPECT_EQ(XMLReport::CleanText(ideographic), std::iswspace(0x3000) ? L"a" : ideographic);
    // With 16-bit text, a character beyond the basic plane is a surrogate pair: each half is a
    // forbidden code unit.
    const std::wstring face = L"\U0001F600";
    EXPECT_EQ(XMLReport::CleanText(face), sizeof(wchar_t) == 2 ? L"??" : face);
}

TEST(CleanTextTest, ResultLivesInTheSharedBuffer) {
    test::FakeMachine machine;
    const std::wstring& first = XMLReport::CleanText(L"a&b");
    EXPECT_EQ(&first, &SharedText::For(SharedText::kCleanText));
    EXPECT_EQ(first, L"a&amp;b");
    // Cleaning the buffer's own text works on a copy.
    EXPECT_EQ(XMLReport::CleanText(first), L"a&amp;amp;b");
    XMLReport::CleanText(L"next");
    EXPECT_EQ(first, L"next");
}

}  // namespace
}  // namespace rigel
