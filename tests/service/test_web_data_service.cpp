#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "core/data_service.h"
#include "core/system.h"
#include "os/fake/fake_http.h"
#include "service/web_data_service.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

const std::wstring kGroupsPath =
    L"/Data/Service.svc/Group/list?refid=r1&apikey=5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5";

class WebDataServiceTest : public ::testing::Test {
  protected:
    static System& session() { return System::Instance(); }
    test::FakeMachine machine;
};

TEST_F(WebDataServiceTest, RequestsReturnTheResponseBodies) {
    machine.http.response.body = "upload answer";
    machine.http.responses[kGroupsPath].body = "head\n1|2\n";
    WebDataService service;
    EXPECT_EQ(service.RequestGroups(L"r1"), L"head\n1|2\n");
    EXPECT_EQ(machine.http.Last().objectName, kGroupsPath);

    session().SetReferrerID(L"r1");
    session().SetSessionID(L"s1");
    EXPECT_EQ(service.SendSystemInformation(), L"upload answer");
    EXPECT_EQ(machine.http.Last().objectName, L"/SystemInformation/?refid=r1&sessid=s1");
}

TEST_F(WebDataServiceTest, TheSessionTalksToTheWebServiceByDefault) {
    EXPECT_NE(dynamic_cast<WebDataService*>(&DataService::Current()), nullptr);

    session().SetReferrerID(L"r1");
    session().SetSessionID(L"s1");
    machine.http.responses[kGroupsPath].body = "head\n71424|5\n";
    session().Detect();

    // The group list first, then the upload.
    ASSERT_EQ(machine.http.exchanges.size(), 2u);
    EXPECT_EQ(machine.http.exchanges[0].objectName, kGroupsPath);
    EXPECT_EQ(machine.http.exchanges[1].objectName, L"/SystemInformation/?refid=r1&sessid=s1");
    ASSERT_TRUE(machine.http.exchanges[1].body.has_value());
    // The enabled session identifier is reported; the referrer's own value is not.
    const std::string& body = *machine.http.exchanges[1].body;
    EXPECT_NE(body.find("id=\"71424\"&gt;&lt;value&gt;s1&lt;/value&gt;"), std::string::npos);
    EXPECT_EQ(body.find("id=\"71218\""), std::string::npos);
    EXPECT_EQ(machine.http.OpenHandles(), 0u);
}

TEST_F(WebDataServiceTest, FailuresReachTheCallerAndAFailedGroupRequestStopsTheDetection) {
    session().SetReferrerID(L"r1");
    machine.http.failAt = os::FakeHttp::Step::kSendRequest;
    try {
        session().Detect();
        ADD_FAILURE() << "the failure must reach the caller";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Can't send Internet request.");
    }
    EXPECT_EQ(machine.http.exchanges.size(), 1u);
    EXPECT_FALSE(session().GetReferrerGroups().loaded);
    EXPECT_THROW(WebDataService().SendSystemInformation(), std::runtime_error);
}

}  // namespace
}  // namespace rigel
