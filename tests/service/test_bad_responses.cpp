#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "core/system.h"
#include "core/xml_report.h"
#include "os/fake/fake_http.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

const std::wstring kGroupsPath =
    L"/Data/Service.svc/Group/list?refid=r1&apikey=5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5";

struct BadAnswer {
    const char* what;
    std::string body;
    std::optional<std::size_t> failReadAfter;
};

// Whatever the data service answers, a detection pass keeps every value already in the store and
// the report still renders.
TEST(BadDataServiceAnswers, DetectionKeepsWhatItHasAndTheReportRenders) {
    const std::vector<BadAnswer> answers = {
        {"garbage without line feeds", std::string(5000, '\x7f') + "|||,,,abc", std::nullopt},
        {"invalid UTF-8", "head\n\xff\xfe\xc3(|71206|\xe2\x82\n", std::nullopt},
        {"a NUL in the middle", std::string("head\n71424|\0|71206\n", 19), std::nullopt},
        {"10 MB", "head\n" + std::string(10 * 1024 * 1024, '7') + "\n", std::nullopt},
        {"closed mid-body", std::string(4500, 'x'), std::size_t{1}},
    };
    for (const auto& answer : answers) {
        test::FakeMachine machine;
        machine.http.responses[kGroupsPath].body = answer.body;
        machine.http.failReadAfter = answer.failReadAfter;
        System& session = System::Instance();
        session.SetReferrerID(L"r1");
        session.SetDebug(L"1");  // report every group, whatever list the service sent
        session.GetSystemValues().AddValues(
            L"<groups><group index=\"0\" id=\"70001\"><value>{kept}</value></group></groups>");

        session.Detect();
        session.Detect();

        SystemValue kept(SystemValueID(GroupID(70001u), 0), L"");
        EXPECT_TRUE(session.GetSystemValues().TryGetValue(kept.id, kept)) << answer.what;
        EXPECT_EQ(kept.text, L"{kept}") << answer.what;
        std::wstring report;
        XMLReport(session.GetSystemValues()).GetReport(report);
        EXPECT_NE(report.find(L"<value>{kept}</value>"), std::wstring::npos) << answer.what;
        EXPECT_EQ(machine.http.OpenHandles(), 0u) << answer.what;
    }
}

}  // namespace
}  // namespace rigel
