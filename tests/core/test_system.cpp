#include <gtest/gtest.h>

#include <cstdint>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/data_service.h"
#include "core/system.h"
#include "diag/log.h"
#include "support/fake_data_service.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

class SystemTest : public ::testing::Test {
  protected:
    static System& session() { return System::Instance(); }

    std::wstring StoredText(std::uint32_t group) {
        SystemValue found(SystemValueID(GroupID(group), 0), L"<absent>");
        session().GetSystemValues().TryGetValue(found.id, found);
        return found.text;
    }

    // Runs a detection; the uploads made so far.
    int UploadsAfterDetect() {
        session().Detect();
        return service.uploads;
    }

    test::FakeMachine machine;
    test::FakeDataService service;
    ScopedDataService serviceScope{service};
};

TEST_F(SystemTest, SessionIdentifierIsARandomVersionFourUuid) {
    const std::wstring id = session().GetSessionID();
    const std::wregex uuid(L"[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    EXPECT_TRUE(std::regex_match(id, uuid)) << std::string(id.begin(), id.end());

    test::FreshProcessState();
    EXPECT_NE(session().GetSessionID(), id) << "every process draws its own identifier";
}

TEST_F(SystemTest, VersionText) { EXPECT_EQ(System::GetVersion(), L"4.5.22.0"); }

TEST_F(SystemTest, ConfigurationTagsApplyOnlyNonEmptyEnclosedTexts) {
    const std::wstring session0 = session().GetSessionID();
    session().SetConfiguration(L"<session_id></session_id><user_id>u1</user_id>");
    EXPECT_EQ(session().GetSessionID(), session0);
    EXPECT_EQ(session().GetUserID(), L"u1");

    session().SetConfiguration(
        L"x<referrer_id> r 7 </referrer_id><session_id>s1</session_id>"
        L"<session_id>s2</session_id>");
    EXPECT_EQ(session().GetReferrerID(), L" r 7 ") << "white space stays";
    EXPECT_EQ(session().GetSessionID(), L"s1") << "the first pair wins";

    session().SetConfiguration(L"<user_id>u2");
    EXPECT_EQ(session().GetUserID(), L"u1") << "a start tag without its end tag applies nothing";
    session().SetConfiguration(L"</user_id><user_id>u3");
    EXPECT_EQ(session().GetUserID(), L"u1") << "an end tag before the start tag does not count";
}

TEST_F(SystemTest, LoggingTagSetsTheLevelCappedAtSeven) {
    const std::vector<std::pair<std::wstring, int>> cases = {
        {L"5", 5}, {L"99", 7}, {L"x", 0}, {L" -2x", -2}, {L"+3", 3}, {L"99999999999", 7}};
    for (const auto& [text, level] : cases) {
        session().SetConfiguration(L"<logging>" + text + L"</logging>");
        EXPECT_EQ(Log::Instance().GetLevel(), level) << text;
    }
}

TEST_F(SystemTest, DebugIsOnForAnyTextButEmptyAndZero) {
    const std::vector<std::pair<std::wstring, bool>> cases = {
        {L"0", false}, {L"1", true}, {L"00", true}, {L"false", true}, {L" ", true}};
    for (const auto& [text, debug] : cases) {
        session().SetConfiguration(L"<debug>" + text + L"</debug>");
        EXPECT_EQ(session().IsDebug(), debug) << '"' << text << '"';
    }
    session().SetDebug(L"");
    EXPECT_FALSE(session().IsDebug());
}

TEST_F(SystemTest, ExtractTagTracesPositionsAndValue) {
    Log::Instance().SetLevel(3);
    std::wstring out = L"kept";
    EXPECT_TRUE(System::ExtractTag(L"ab<logging>5</logging>", L"<logging>", L"</logging>", out));
    EXPECT_EQ(out, L"5");
    EXPECT_FALSE(System::ExtractTag(L"none", L"<debug>", L"</debug>", out));
    EXPECT_EQ(out, L"") << "an absent start tag yields the empty text";
    out = L"kept";
    EXPECT_FALSE(System::ExtractTag(L"<debug>1", L"<debug>", L"</debug>", out));
    EXPECT_EQ(out, L"kept") << "a missing end tag leaves the output alone";
    EXPECT_EQ(machine.LogMessages(),
              (std::vector<std::wstring>{L"len= 9", L"s= 2", L"e= 12", L"value= 5", L"len= 7",
                                         L"s= -1", L"e= -1", L"value= ", L"value= kept"}));
}

TEST_F(SystemTest, SettersFollowTheirEmptyTextRules) {
    const std::wstring session0 = session().GetSessionID();
    session().SetSessionID(L"");
    session().SetComputerID(L"");
    session().SetReferrerID(L"r1");
    session().SetReferrerID(L"");
    session().SetUserID(L"u1");
    session().SetUserID(L"");
    EXPECT_EQ(session().GetSessionID(), session0);
    EXPECT_EQ(session().GetComputerID(), L"");
    EXPECT_EQ(session().GetReferrerID(), L"r1");
    EXPECT_EQ(session().GetUserID(), L"");
}

TEST_F(SystemTest, DetectStoresTheIdentifiersOnEveryCall) {
    session().SetSessionID(L"s1");
    session().SetUserID(L"u1");
    session().Detect();
    EXPECT_EQ(StoredText(71424), L"s1");
    EXPECT_EQ(StoredText(71218), L"");
    EXPECT_EQ(StoredText(71206), L"u1");

    session().SetReferrerID(L"r9");
    session().SetUserID(L"u2");
    session().Detect();
    EXPECT_EQ(StoredText(71218), L"r9");
    EXPECT_EQ(StoredText(71206), L"u2");
    const auto& values = session().GetSystemValues().Values();
    ASSERT_GE(values.size(), 3u);
    EXPECT_EQ(values[0].id.group.GetNumber(), 71424u) << "replaced in place";
    EXPECT_EQ(values[1].id.group.GetNumber(), 71218u);
    EXPECT_EQ(values[2].id.group.GetNumber(), 71206u);
}

TEST_F(SystemTest, UploadsAtMostEveryTenMinutesUnlessAnIdentifierChanges) {
    machine.clock.unixTime = 1'000'000;
    EXPECT_EQ(UploadsAfterDetect(), 1);
    machine.clock.unixTime += 599;
    EXPECT_EQ(UploadsAfterDetect(), 1);
    machine.clock.unixTime += 1;
    EXPECT_EQ(UploadsAfterDetect(), 2);

    session().SetConfiguration(L"<session_id>via-config</session_id>");
    EXPECT_EQ(UploadsAfterDetect(), 2) << "configuration tags leave the sent flag alone";
    session().SetSessionID(L"new-session");
    EXPECT_EQ(UploadsAfterDetect(), 3);
    session().SetComputerID(L"new-computer");
    EXPECT_EQ(UploadsAfterDetect(), 4);
    session().SetReferrerID(L"new-referrer");
    EXPECT_EQ(UploadsAfterDetect(), 4);
}

TEST_F(SystemTest, GroupListIsFetchedUntilOneRequestSucceedsThenNeverAgain) {
    session().SetReferrerID(L"r1");
    service.failGroups = true;
    EXPECT_THROW(session().Detect(), std::runtime_error);
    EXPECT_EQ(service.uploads, 0);
    EXPECT_EQ(StoredText(71218), L"r1") << "identifiers are stored before the request";

    service.failGroups = false;
    EXPECT_EQ(UploadsAfterDetect(), 1);
    session().SetReferrerID(L"r2");
    session().Detect();
    EXPECT_EQ(service.groupRequests, (std::vector<std::wstring>{L"r1", L"r1"}));
}

TEST_F(SystemTest, FailedUploadIsRetriedAndLeavesTheComputerIdentifierAlone) {
    session().SetComputerID(L"before");
    machine.systemInfo.guidText = L"{GUID-1}";
    service.failUpload = true;
    EXPECT_THROW(session().Detect(), std::runtime_error);
    EXPECT_EQ(session().GetComputerID(), L"before");

    service.failUpload = false;
    EXPECT_EQ(UploadsAfterDetect(), 1);
    EXPECT_EQ(service.groupRequests.size(), 1u) << "the components already ran";
    EXPECT_EQ(session().GetComputerID(), L"GUID-1");
}

TEST_F(SystemTest, ComputerIdentifierIsReadBackFromTheStoreAfterEachDetection) {
    session().SetComputerID(L"set-by-script");
    machine.systemInfo.guidStatus = static_cast<std::int32_t>(0x80004005);  // E_FAIL
    session().Detect();
    EXPECT_EQ(session().GetComputerID(), L"0") << "no GUID could be made";
    session().GetSystemValues().AddValue(71207, L"{GUID-2}");
    session().Detect();
    EXPECT_EQ(session().GetComputerID(), L"{GUID-2}");
}

}  // namespace
}  // namespace rigel
