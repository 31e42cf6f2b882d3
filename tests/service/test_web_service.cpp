#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "diag/log.h"
#include "os/fake/fake_http.h"
#include "service/web_service.h"
#include "support/fake_machine.h"

namespace rigel {
namespace {

using namespace std::string_literals;
using Step = os::FakeHttp::Step;

std::wstring DataServiceHost() {
    std::wstring host;
    for (const char* c = RIGEL_DATA_SERVICE_HOST; *c != '\0'; ++c) host += static_cast<wchar_t>(*c);
    return host;
}

std::wstring Widened(const std::string& bytes) { return std::wstring(bytes.begin(), bytes.end()); }

std::string Pattern(std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>('a' + i % 26);
    return bytes;
}

class WebServiceTest : public ::testing::Test {
  protected:
    WebServiceTest() { Log::Instance().SetLevel(Log::kDump); }

    static WebService Post(const std::wstring& body, const std::wstring& contentType) {
        WebService service;
        service.SetVerb(L"POST");
        service.SetPath(L"/post/here?a=1&b=2");
        service.SetContentType(contentType);
        service.SetBody(body);
        return service;
    }

    static WebService Get() {
        WebService service;
        service.SetVerb(L"GET");
        service.SetPath(L"/get/here?x=y");
        return service;
    }

    const os::FakeHttp::Exchange& Sent() const { return machine.http.Last(); }

    // The whole log line that carries the message; empty when there is none.
    std::wstring LineWith(const std::wstring& message) const {
        for (const auto& line : machine.LogLines()) {
            if (line.size() >= message.size() &&
                line.compare(line.size() - message.size(), message.size(), message) == 0) {
                return line;
            }
        }
        return std::wstring();
    }

    // Forgets earlier exchanges, closed handles and log lines, for the next row of a table.
    void Forget() {
        machine.http.exchanges.clear();
        machine.http.closed.clear();
        machine.debugOutput.chunks.clear();
    }

    void ExpectAllClosedInOrder() const {
        const auto& sent = Sent();
        EXPECT_EQ(machine.http.closed,
                  (std::vector<os::HInternet>{sent.request, sent.connection, sent.session}));
        EXPECT_EQ(machine.http.OpenHandles(), 0u);
        EXPECT_TRUE(machine.http.misuse.empty()) << machine.http.misuse.front();
    }

    test::FakeMachine machine;
};

TEST_F(WebServiceTest, APostSendsTheExactRequestLineHeadersAndBody) {
    WebService service = Post(L"<a>b</a>", L"text/xml");
    EXPECT_TRUE(service.Call());

    const auto& sent = Sent();
    ASSERT_EQ(machine.http.exchanges.size(), 1u);
    EXPECT_EQ(sent.agent, L"RIGEL");
    EXPECT_EQ(sent.accessType, 0u);
    EXPECT_EQ(sent.proxy, std::nullopt);
    EXPECT_EQ(sent.proxyBypass, std::nullopt);
    EXPECT_EQ(sent.sessionFlags, 0u);

    EXPECT_EQ(sent.connectedSession, sent.session);
    EXPECT_EQ(sent.host, DataServiceHost());
    EXPECT_EQ(sent.port, RIGEL_DATA_SERVICE_PORT);
    EXPECT_EQ(sent.user, std::optional<std::wstring>(L""));
    EXPECT_EQ(sent.password, std::optional<std::wstring>(L""));
    EXPECT_EQ(sent.service, 3u);
    EXPECT_EQ(sent.connectFlags, 0x40000u);

    EXPECT_EQ(sent.requestConnection, sent.connection);
    EXPECT_EQ(sent.verb, L"POST");
    EXPECT_EQ(sent.objectName, L"/post/here?a=1&b=2");
    EXPECT_EQ(sent.version, std::optional<std::wstring>(L"HTTP/1.1"));
    EXPECT_EQ(sent.referrer, std::nullopt);
    EXPECT_EQ(sent.acceptTypes, std::vector<std::wstring>{L"text/*"});
    EXPECT_EQ(sent.requestFlags, 0xA4400000u);

    EXPECT_EQ(sent.sends, 1);
    const std::wstring headers = L"Content-Type: text/xml; charset=utf-8\r\nContent-Length: 8";
    EXPECT_EQ(sent.headers, std::optional<std::wstring>(headers));
    EXPECT_EQ(sent.body, std::optional<std::string>("<a>b</a>"));
    EXPECT_EQ(service.GetBytesSent(), 64u);

    EXPECT_EQ(sent.queries, (std::vector<std::uint32_t>{19, 20}));
    ExpectAllClosedInOrder();
}

TEST_F(WebServiceTest, OnlyTheExactVerbPostCarriesABody) {
    for (const wchar_t* verb : {L"GET", L"post", L"POST ", L"PUT", L""}) {
        WebService service = Post(L"body", L"text/xml");
        service.SetVerb(verb);
        service.Call();
        EXPECT_EQ(Sent().verb, verb);
        EXPECT_EQ(Sent().headers, std::nullopt) << verb;
        EXPECT_EQ(Sent().body, std::nullopt) << verb;
        EXPECT_EQ(service.GetBytesSent(), 0u) << verb;
    }
}

TEST_F(WebServiceTest, BodyLengthsCountEncodedBytes) {
    struct Case {
        std::wstring body;
        std::string bytes;
        std::wstring length;
    };
    const std::vector<Case> cases = {
        {L"", "", L"0"},
        {L"h\u00e9\u20ac", "h\xC3\xA9\xE2\x82\xAC", L"6"},
        {std::wstring(L"ab\0cd", 5), "ab", L"2"},  // the body ends at its first null character
        {std::wstring(1234, L'z'), std::string(1234, 'z'), L"1234"},
    };
    for (const auto& c : cases) {
        WebService service = Post(c.body, L"text/plain");
        service.Call();
        const std::wstring headers =
            L"Content-Type: text/plain; charset=utf-8\r\nContent-Length: " + c.length;
        EXPECT_EQ(Sent().headers, std::optional<std::wstring>(headers)) << c.length;
        EXPECT_EQ(Sent().body, std::optional<std::string>(c.bytes)) << c.length;
        EXPECT_EQ(service.GetBytesSent(), headers.size() + c.bytes.size()) << c.length;
    }
}

TEST_F(WebServiceTest, NullTextsLeaveTheFieldsAloneAndUnsetOnesHaveDefaults) {
    WebService service = Post(L"kept", L"text/xml");
    const wchar_t* none = nullptr;
    service.SetPath(none);
    service.SetBody(none);
    service.SetVerb(none);
    service.SetContentType(none);
    service.Call();
    EXPECT_EQ(Sent().verb, L"POST");
    EXPECT_EQ(Sent().objectName, L"/post/here?a=1&b=2");
    EXPECT_EQ(Sent().body, std::optional<std::string>("kept"));
    EXPECT_EQ(Sent().headers, std::optional<std::wstring>(
                                  L"Content-Type: text/xml; charset=utf-8\r\nContent-Length: 4"));

    // Unset, the path is empty and the content type is the default one.
    WebService unset;
    unset.SetVerb(L"POST");
    unset.SetBody(L"x");
    unset.Call();
    EXPECT_EQ(Sent().headers,
              std::optional<std::wstring>(
                  L"Content-Type: application/xml; charset=utf-8\r\nContent-Length: 1"));
    EXPECT_EQ(Sent().objectName, L"");
}

TEST_F(WebServiceTest, TheResponseIsReadInChunksOfTwoThousandBytesKeepingWhatCameBeforeAFailure) {
    const std::string body = Pattern(4500);
    const struct {
        std::optional<std::size_t> failReadAfter;
        std::vector<std::uint32_t> readSizes;
        std::size_t kept;
    } cases[] = {{std::nullopt, {2000, 2000, 2000, 2000}, 4500}, {1, {2000, 2000}, 2000}};
    machine.http.response.body = body;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kept);
        Forget();
        machine.http.failReadAfter = c.failReadAfter;
        WebService service = Get();
        EXPECT_TRUE(service.Call());
        EXPECT_EQ(Sent().readSizes, c.readSizes);
        EXPECT_EQ(service.GetResult(), Widened(body.substr(0, c.kept)));
        EXPECT_EQ(service.GetBytesReceived(), 2 * c.kept);
        ExpectAllClosedInOrder();
    }
    Forget();
    machine.http.failReadAfter = std::nullopt;
    Get().Call();
    EXPECT_EQ(Sent().readCounts, (std::vector<std::uint32_t>{2000, 2000, 500, 0}));
}

// The status is asked for but not judged: an error page or a failed query still reads the body.
TEST_F(WebServiceTest, FailedStatusQueriesAreLoggedAndAnErrorStatusIsReadLikeAnyOther) {
    const struct {
        std::vector<std::uint32_t> failing;
        bool statusLogged;
        bool dataLogged;
    } cases[] = {
        {{}, false, false}, {{19, 20}, true, true}, {{19}, true, false}, {{20}, false, true}};
    machine.http.response = {L"404", L"Not Found", "<html>no such page</html>"};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.failing.size());
        Forget();
        machine.http.failingQueries = c.failing;
        WebService service = Get();
        EXPECT_TRUE(service.Call());
        EXPECT_EQ(Sent().queries, (std::vector<std::uint32_t>{19, 20}));
        EXPECT_EQ(LineWith(L"ERR   | . Can't get status.").empty(), !c.statusLogged);
        EXPECT_EQ(LineWith(L"ERR   | . Can't get data.").empty(), !c.dataLogged);
        EXPECT_EQ(service.GetResult(), L"<html>no such page</html>");
        EXPECT_EQ(service.GetBytesReceived(), 50u);
        EXPECT_NE(LineWith(L"TRACE | . Successfully sent data."), L"");
        ExpectAllClosedInOrder();
    }
}

TEST_F(WebServiceTest, EachOpeningOrSendingFailureClosesWhatWasOpened) {
    struct Case {
        Step step;
        const char* message;
        int closedHandles;  // request, connection, session: the last ones opened first
    };
    const std::vector<Case> cases = {
        {Step::kOpenSession, "Can't open Internet.", 0},
        {Step::kConnect, "Can't open Internet connection.", 1},
        {Step::kOpenRequest, "Can't open Internet request.", 2},
        {Step::kSendRequest, "Can't send Internet request.", 3},
    };
    machine.http.response.body = "never read";
    machine.http.failError = 12007;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        Forget();
        machine.http.failAt = c.step;
        WebService service = Post(L"x", L"text/xml");
        try {
            service.Call();
            ADD_FAILURE() << "no exception";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), c.message);
        }
        const auto& sent = Sent();
        const std::vector<os::HInternet> opened{sent.request, sent.connection, sent.session};
        EXPECT_EQ(machine.http.closed,
                  std::vector<os::HInternet>(opened.end() - c.closedHandles, opened.end()));
        EXPECT_EQ(machine.http.OpenHandles(), 0u);
        EXPECT_TRUE(machine.http.misuse.empty());
        EXPECT_TRUE(sent.queries.empty());
        EXPECT_TRUE(sent.readSizes.empty());
        EXPECT_EQ(service.GetResult(), L"");
        // Only a failed send has a system error code to log.
        EXPECT_EQ(LineWith(L"ERR   | . Can't send Internet request. Error: 12007").empty(),
                  c.step != Step::kSendRequest);
        EXPECT_EQ(LineWith(L"Successfully sent data."), L"");
    }
}

TEST_F(WebServiceTest, TheResponseIsDecodedUpToItsFirstNulByteAndCountedInUtf16Units) {
    struct Case {
        std::string body;
        std::wstring result;
    };
    const std::vector<Case> cases = {
        {"", L""},
        {"ok \xE2\x82\xAC \xC3( \xFF|\0after"s, L"ok \u20ac \uFFFD( \uFFFD|"},
        {"\xF0\x9F\x98\x80", L"\U0001F600"},
    };
    for (const auto& c : cases) {
        machine.http.response.body = c.body;
        WebService service = Get();
        EXPECT_TRUE(service.Call());
        EXPECT_EQ(Sent().readCounts.back(), 0u);
        EXPECT_EQ(service.GetResult(), c.result);
        // Two bytes a wide character; beyond the first plane, two where wchar_t has 16 bits.
        EXPECT_EQ(service.GetBytesReceived(), 2u * c.result.size());
    }
}

TEST_F(WebServiceTest, ElapsedCoversTheSendButNotTheBody) {
    machine.clock.performanceCounter = 1'000'000;
    machine.clock.performanceCounterStep = 0;
    machine.http.onSend = [this] { machine.clock.performanceCounter += 2'500'000; };
    machine.http.onRead = [this] { machine.clock.performanceCounter += 10'000'000; };
    machine.http.response.body = "x";
    WebService service = Post(L"x", L"text/xml");
    service.Call();
    EXPECT_EQ(service.GetElapsed(), 250);
}

TEST_F(WebServiceTest, TheCallIsTracedWithItsResultAndItsHeaderOnlyAtTheDumpLevel) {
    machine.http.response.body = "answer";
    const std::vector<std::wstring> dump = {
        L"Entering: rigel::WebService::Call",
        L"Header:  = Content-Type: text/xml; charset=utf-8\r",
        L"Content-Length: 3",
        L"Result: answer",
        L"Successfully sent data.",
        L"Exiting: rigel::WebService::Call",
    };
    const std::vector<std::wstring> trace = {L"Result: answer", L"Successfully sent data."};
    for (const auto level : {Log::kTrace, Log::kDump}) {
        machine.debugOutput.chunks.clear();
        Log::Instance().SetLevel(level);
        Post(L"abc", L"text/xml").Call();
        EXPECT_EQ(machine.LogMessages(), level == Log::kDump ? dump : trace);
    }
    // The lines of the last pass, at the dump level, carry their levels.
    EXPECT_NE(LineWith(L"DUMP  | . Header:  = Content-Type: text/xml; charset=utf-8\r"), L"");
    EXPECT_NE(LineWith(L"TRACE | . Result: answer"), L"");
}

TEST_F(WebServiceTest, ASecondCallReplacesTheResult) {
    WebService service = Get();
    machine.http.response.body = "first answer";
    service.Call();
    machine.http.response.body = "second";
    service.Call();
    EXPECT_EQ(service.GetResult(), L"second");
    EXPECT_EQ(service.GetBytesReceived(), 12u);
    EXPECT_EQ(machine.http.exchanges.size(), 2u);
    EXPECT_EQ(machine.http.OpenHandles(), 0u);
}

}  // namespace
}  // namespace rigel
