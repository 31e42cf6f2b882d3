#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "core/system.h"
#include "core/system_value.h"
#include "diag/log.h"
#include "service/web_service_analysis.h"
#include "service/web_service_groups.h"
#include "service/web_service_system_information.h"
#include "service/web_service_upload.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

class WebServiceKindsTest : public ::testing::Test {
  protected:
    WebServiceKindsTest() { Identify(); }

    static void Identify() {
        session().SetSessionID(L"s1");
        session().SetUserID(L"u1");
        session().SetReferrerID(L"r1");
    }

    static System& session() { return System::Instance(); }
    const os::FakeHttp::Exchange& Sent() const { return machine.http.Last(); }

    static std::wstring Headers(const std::wstring& contentType, std::size_t length) {
        return L"Content-Type: " + contentType + L"; charset=utf-8\r\nContent-Length: " +
               std::to_wstring(length);
    }

    test::FakeMachine machine;
};

TEST_F(WebServiceKindsTest, AnalysisPostsTheTemplateFilledOnceAndUnescapedForTheReferrer) {
    // The user ID brings a second "^item_id" after the template's own; only the first is filled.
    session().SetUserID(L"^item_id");
    session().SetSessionID(L"a&b<c>");
    WebServiceAnalysis analysis;
    analysis.SetItemID(L"i9");
    analysis.SetMessageFormat(L"xml");
    session().SetReferrerID(L"later");  // the referrer is read when the object is made
    EXPECT_TRUE(analysis.Call());

    // An unset format version keeps its placeholder.
    const std::string body =
        "<System><SessionID>a&b<c></SessionID><ItemID>i9</ItemID><UserID>^item_id</UserID>"
        "<Format>xml</Format><Schema>^format_version</Schema></System>";
    EXPECT_EQ(Sent().verb, L"POST");
    EXPECT_EQ(Sent().objectName, L"/service/Analysis/r1");
    EXPECT_EQ(Sent().headers,
              std::optional<std::wstring>(Headers(L"application/xml", body.size())));
    EXPECT_EQ(Sent().body, std::optional<std::string>(body));

    analysis.SetFormatVersion(L"2");
    analysis.Call();
    EXPECT_NE(Sent().body->find("<Schema>2</Schema>"), std::string::npos);
}

TEST_F(WebServiceKindsTest, GroupsIsAGetWithTheReferrerAndKeyUnencoded) {
    WebServiceGroups groups(L"r 1&x");
    machine.http.response.body = "head\n1|2\n";
    EXPECT_TRUE(groups.Call());
    EXPECT_EQ(Sent().verb, L"GET");
    EXPECT_EQ(Sent().objectName,
              L"/Data/Service.svc/Group/list?refid=r 1&x"
              L"&apikey=5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5");
    EXPECT_EQ(Sent().headers, std::nullopt);
    EXPECT_EQ(Sent().body, std::nullopt);
    EXPECT_EQ(groups.GetBytesSent(), 0u);
    EXPECT_EQ(groups.GetResult(), L"head\n1|2\n");
}

// The report goes up escaped once more: a group text is written into it as it is, so a&b<c>
// reaches the upload escaped once; a value text arrives already escaped and is escaped again.
TEST_F(WebServiceKindsTest, SystemInformationPostsTheReportEscapedOnceMoreInUtf8) {
    const struct {
        std::vector<SystemValue> values;
        std::string data;
    } cases[] = {
        {{}, "&lt;groups&gt;&lt;/groups&gt;  "},
        {{SystemValue(SystemValueID(GroupID(std::wstring(L"9a&b<c>")), 0), L"1 & \"2\"")},
         "&lt;groups&gt;&lt;group index=\"0\" id=\"9a&amp;b&lt;c&gt;\"&gt;&lt;value&gt;1 "
         "&amp;amp; \"2\"&lt;/value&gt;&lt;/group&gt;&lt;/groups&gt;  "},
        {{SystemValue(SystemValueID(GroupID(71424u), 0), L"Gr\u00fc\u00dfe")},
         "&lt;groups&gt;&lt;group index=\"0\" id=\"71424\"&gt;&lt;value&gt;Gr\xC3\xBC\xC3\x9F"
         "e&lt;/value&gt;&lt;/group&gt;&lt;/groups&gt;  "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.data);
        test::FreshProcessState();
        Identify();
        for (const SystemValue& value : c.values) session().GetSystemValues().AddValue(value);
        WebServiceSystemInformation upload;
        EXPECT_TRUE(upload.Call());
        const std::string body =
            "<SystemInformation><Data>" + c.data + "</Data></SystemInformation>";
        EXPECT_EQ(Sent().verb, L"POST");
        EXPECT_EQ(Sent().objectName, L"/SystemInformation/?refid=r1&sessid=s1");
        EXPECT_EQ(Sent().headers, std::optional<std::wstring>(Headers(L"text/xml", body.size())));
        EXPECT_EQ(Sent().body, std::optional<std::string>(body));
    }
}

TEST_F(WebServiceKindsTest, UploadPostsTheCallersTextUnchanged) {
    WebServiceUpload upload(L"<data>\u00e9 ^sys_info &</data>");
    EXPECT_TRUE(upload.Call());
    const std::string body = "<data>\xC3\xA9 ^sys_info &</data>";
    EXPECT_EQ(Sent().verb, L"POST");
    EXPECT_EQ(Sent().objectName,
              L"/Data/Service.svc/upload?apikey=5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5");
    EXPECT_EQ(Sent().headers, std::optional<std::wstring>(Headers(L"application/xml", 27)));
    EXPECT_EQ(Sent().body, std::optional<std::string>(body));
}

}  // namespace
}  // namespace rigel
