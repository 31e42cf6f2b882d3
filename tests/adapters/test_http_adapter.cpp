// WinINet against the reference data service on the loopback address: the requests the web
// client builds reach the service byte for byte as the fake-based tests expect, and what the
// service answers comes back whole. The service's journal is read through the same client.
//
// The ctest fixture starts the service with tests/adapters/groups.json, tests/adapters/items.ini
// and a download file of kDownloadSize bytes.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include "core/system.h"
#include "os/internet_closer.h"
#include "os/unique_handle.h"
#include "os/win32/win32_http.h"
#include "service/bandwidth.h"
#include "service/download_speed_test.h"
#include "service/network_device.h"
#include "service/upload_speed_test.h"
#include "service/utf8.h"
#include "service/web_service.h"
#include "service/web_service_analysis.h"
#include "service/web_service_groups.h"
#include "service/web_service_system_information.h"
#include "service/web_service_upload.h"
#include "support/fake_machine.h"
#include "support/service_request.h"

namespace rigel {
namespace {

using namespace std::string_literals;

constexpr std::size_t kDownloadSize = 4500;
const std::string kApiKey = "5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5";

std::string Narrow(const std::wstring& text) { return Utf8::Encode(text); }

std::string DecodeBase64(const std::string& text) {
    static const std::string alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (char c : text) {
        const std::size_t value = alphabet.find(c);
        if (value == std::string::npos) continue;  // padding
        bits = (bits << 6) | static_cast<std::uint32_t>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>((bits >> count) & 0xFF);
        }
    }
    return bytes;
}

// One request as the service's journal recorded it.
struct Recorded {
    int status = 0;
    std::string head;  // request line and header lines exactly as received
    std::string body;  // exactly as received

    std::string RequestLine() const { return head.substr(0, head.find("\r\n")); }
    bool HasHeader(const std::string& name) const {
        return head.find("\r\n" + name + ":") != std::string::npos;
    }
    std::string Header(const std::string& name) const {
        const std::string start = "\r\n" + name + ": ";
        const std::size_t at = head.find(start);
        if (at == std::string::npos) return "(absent)";
        const std::size_t from = at + start.size();
        return head.substr(from, head.find("\r\n", from) - from);
    }
};

// Requests to the service's own administration paths, through the same client.
std::wstring Admin(const wchar_t* verb, const wchar_t* path) {
    return test::ServiceRequest(verb, path);
}

std::vector<Recorded> Journal() {
    std::istringstream json(Narrow(Admin(L"GET", L"/_admin/requests")));
    boost::property_tree::ptree entries;
    boost::property_tree::read_json(json, entries);
    std::vector<Recorded> recorded;
    for (const auto& [key, entry] : entries) {
        recorded.push_back({entry.get<int>("status"),
                            DecodeBase64(entry.get<std::string>("raw_head_b64")),
                            DecodeBase64(entry.get<std::string>("body_b64"))});
    }
    return recorded;
}

// The stored decoded report of every upload, in order.
std::vector<std::string> StoredReports() {
    std::istringstream json(Narrow(Admin(L"GET", L"/_admin/uploads")));
    boost::property_tree::ptree root;
    boost::property_tree::read_json(json, root);
    std::vector<std::string> reports;
    for (const auto& [key, upload] : root.get_child("uploads")) {
        reports.push_back(upload.get<std::string>("report"));
    }
    return reports;
}

// The body size of every upload-speed post the service counted, in order.
std::vector<std::uint64_t> SpeedUploadSizes() {
    std::istringstream json(Narrow(Admin(L"GET", L"/_admin/uploads")));
    boost::property_tree::ptree root;
    boost::property_tree::read_json(json, root);
    std::vector<std::uint64_t> sizes;
    for (const auto& [key, size] : root.get_child("speed_uploads.bytes")) {
        sizes.push_back(size.get_value<std::uint64_t>());
    }
    return sizes;
}

// The number of a "<decimal> bps" text; fails the test for any other form.
std::uint64_t BitsPerSecond(const std::wstring& rate) {
    const std::size_t digits = rate.find_first_not_of(L"0123456789");
    EXPECT_GT(digits, 0u) << Narrow(rate);
    EXPECT_EQ(rate.substr(digits == std::wstring::npos ? rate.size() : digits), L" bps");
    return digits == 0 || digits == std::wstring::npos ? 0 : std::stoull(rate.substr(0, digits));
}

std::string Host() { return RIGEL_DATA_SERVICE_HOST ":" + std::to_string(RIGEL_DATA_SERVICE_PORT); }

class HttpAdapterTest : public ::testing::Test {
  protected:
    HttpAdapterTest() {
        test::FreshProcessState();
        Admin(L"POST", L"/_admin/reset");
        session().SetSessionID(L"s1");
        session().SetUserID(L"u1");
        session().SetReferrerID(L"r1");
    }
    ~HttpAdapterTest() override { test::FreshProcessState(); }

    static System& session() { return System::Instance(); }

    // The one request the test sent; fails the test when there were others.
    static Recorded Only() {
        const std::vector<Recorded> journal = Journal();
        EXPECT_EQ(journal.size(), 1u);
        return journal.empty() ? Recorded{} : journal.front();
    }

    static void ExpectClientHeaders(const Recorded& sent) {
        EXPECT_EQ(sent.Header("User-Agent"), "RIGEL");
        EXPECT_EQ(sent.Header("Accept"), "text/*");
        EXPECT_EQ(sent.Header("Host"), Host());
    }

    // The two header lines the client adds to a post arrive together, in this order.
    static void ExpectPostHeaders(const Recorded& sent, const std::string& contentType,
                                  std::size_t length) {
        const std::string lines = "\r\nContent-Type: " + contentType +
                                  "; charset=utf-8\r\nContent-Length: " + std::to_string(length) +
                                  "\r\n";
        EXPECT_NE(sent.head.find(lines), std::string::npos) << sent.head;
    }
};

TEST_F(HttpAdapterTest, GroupsListIsAGetWithoutContentHeadersOrBody) {
    WebServiceGroups groups(L"adapter");
    EXPECT_TRUE(groups.Call());
    EXPECT_EQ(groups.GetResult(), L"groups adapter\r\n1|22|333\r\n");
    EXPECT_EQ(groups.GetBytesSent(), 0u);
    EXPECT_EQ(groups.GetBytesReceived(), 52u);

    const Recorded sent = Only();
    EXPECT_EQ(sent.RequestLine(),
              "GET /Data/Service.svc/Group/list?refid=adapter&apikey=" + kApiKey + " HTTP/1.1");
    EXPECT_EQ(sent.status, 200);
    ExpectClientHeaders(sent);
    EXPECT_FALSE(sent.HasHeader("Content-Type")) << sent.head;
    EXPECT_FALSE(sent.HasHeader("Content-Length")) << sent.head;
    EXPECT_EQ(sent.body, "");
}

TEST_F(HttpAdapterTest, AReferrerUnknownToTheServiceGetsAnEmptyList) {
    WebServiceGroups groups(L"stranger");
    groups.Call();
    EXPECT_EQ(groups.GetResult(), L"groups stranger\r\n\r\n");
}

TEST_F(HttpAdapterTest, SystemInformationArrivesByteForByteAndIsStoredDecoded) {
    session().GetSystemValues().AddValue(71424, L"Gr\u00fc\u00dfe");
    session().GetSystemValues().AddValue(71206, L"1 & \"2\" <b>");
    WebServiceSystemInformation upload;
    EXPECT_TRUE(upload.Call());
    EXPECT_EQ(upload.GetResult().rfind(L"stored upload ", 0), 0u) << Narrow(upload.GetResult());

    // The report escapes the value once, the upload escapes the whole report again.
    const std::string body =
        "<SystemInformation><Data>&lt;groups&gt;"
        "&lt;group index=\"0\" id=\"71424\"&gt;&lt;value&gt;Gr\xC3\xBC\xC3\x9F"
        "e&lt;/value&gt;&lt;/group&gt;"
        "&lt;group index=\"0\" id=\"71206\"&gt;&lt;value&gt;1 &amp;amp; \"2\" &amp;lt;b&amp;gt;"
        "&lt;/value&gt;&lt;/group&gt;"
        "&lt;/groups&gt;  </Data></SystemInformation>";
    const Recorded sent = Only();
    EXPECT_EQ(sent.RequestLine(), "POST /SystemInformation/?refid=r1&sessid=s1 HTTP/1.1");
    EXPECT_EQ(sent.status, 200);
    ExpectClientHeaders(sent);
    ExpectPostHeaders(sent, "text/xml", body.size());
    EXPECT_EQ(sent.body, body);
    const std::size_t headerLength =
        "Content-Type: text/xml; charset=utf-8\r\nContent-Length: "s.size() +
        std::to_string(body.size()).size();
    EXPECT_EQ(upload.GetBytesSent(), headerLength + body.size());

    const std::vector<std::string> reports = StoredReports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0],
              "<groups><group index=\"0\" id=\"71424\"><value>Gr\xC3\xBC\xC3\x9F"
              "e</value></group><group index=\"0\" id=\"71206\"><value>1 &amp; \"2\" &lt;b&gt;"
              "</value></group></groups>  ");
}

TEST_F(HttpAdapterTest, AnalysisPostsTheFilledTemplate) {
    WebServiceAnalysis analysis;
    analysis.SetItemID(L"2");
    analysis.SetMessageFormat(L"xml");
    analysis.SetFormatVersion(L"2");
    EXPECT_TRUE(analysis.Call());
    // Nothing was uploaded for the session: the service says so in its answer.
    EXPECT_EQ(analysis.GetResult(),
              L"<Analysis schema=\"1\" status=\"no-upload\" session=\"s1\" user=\"u1\" "
              L"referrer=\"r1\" item=\"2\"><Item>Memory probe</Item><Message>No upload for "
              L"session s1.</Message><Verdict level=\"minimum\">unknown</Verdict>"
              L"<Verdict level=\"recommended\">unknown</Verdict></Analysis>");

    const std::string body =
        "<System><SessionID>s1</SessionID><ItemID>2</ItemID><UserID>u1</UserID>"
        "<Format>xml</Format><Schema>2</Schema></System>";
    const Recorded sent = Only();
    EXPECT_EQ(sent.RequestLine(), "POST /service/Analysis/r1 HTTP/1.1");
    EXPECT_EQ(sent.status, 200);
    ExpectClientHeaders(sent);
    ExpectPostHeaders(sent, "application/xml", body.size());
    EXPECT_EQ(sent.body, body);
}

TEST_F(HttpAdapterTest, AnalysisOfAStoredReportJudgesItsValues) {
    session().GetSystemValues().AddValue(71063, L"2.0 GB");
    WebServiceSystemInformation upload;
    upload.Call();

    WebServiceAnalysis analysis;
    analysis.SetItemID(L"2");
    analysis.SetMessageFormat(L"xml");
    analysis.SetFormatVersion(L"2");
    EXPECT_TRUE(analysis.Call());
    // The upload's number and time come before the item; what follows is the verdict.
    const std::wstring result = analysis.GetResult();
    EXPECT_EQ(result.rfind(L"<Analysis schema=\"1\" status=\"ok\" session=\"s1\" user=\"u1\" "
                           L"referrer=\"r1\" item=\"2\" upload=\"",
                           0),
              0u)
        << Narrow(result);
    const std::size_t item = result.find(L"<Item>");
    ASSERT_NE(item, std::wstring::npos) << Narrow(result);
    EXPECT_EQ(result.substr(item),
              L"<Item>Memory probe</Item><Verdict level=\"minimum\">pass</Verdict>"
              L"<Verdict level=\"recommended\">fail</Verdict>"
              L"<Requirement kind=\"memory\" value=\"71063\" label=\"Physical memory\">"
              L"<Detected>2.0 GB</Detected><Minimum required=\"1 GB\" result=\"pass\">2.0 GB "
              L"meets 1 GB</Minimum><Recommended required=\"4 GB\" result=\"fail\">2.0 GB is "
              L"below 4 GB</Recommended></Requirement></Analysis>");
}

TEST_F(HttpAdapterTest, UploadPostsTheCallersTextAsUtf8) {
    WebServiceUpload upload(L"<data>\u00e9 ^sys_info &</data>");
    EXPECT_TRUE(upload.Call());
    const std::string body = "<data>\xC3\xA9 ^sys_info &</data>";
    EXPECT_EQ(upload.GetResult(), std::to_wstring(body.size()));

    const Recorded sent = Only();
    EXPECT_EQ(sent.RequestLine(), "POST /Data/Service.svc/upload?apikey=" + kApiKey + " HTTP/1.1");
    ExpectPostHeaders(sent, "application/xml", body.size());
    EXPECT_EQ(sent.body, body);
}

TEST_F(HttpAdapterTest, AnEmptyBodyIsPostedWithLengthZero) {
    WebServiceUpload upload(L"");
    EXPECT_TRUE(upload.Call());
    EXPECT_EQ(upload.GetResult(), L"0");
    const Recorded sent = Only();
    ExpectPostHeaders(sent, "application/xml", 0);
    EXPECT_EQ(sent.body, "");
}

TEST_F(HttpAdapterTest, ErrorPagesAreReturnedAsTheResult) {
    WebService missing;
    missing.SetVerb(L"GET");
    missing.SetPath(L"/no/such/page");
    EXPECT_TRUE(missing.Call());
    EXPECT_EQ(missing.GetResult(), L"not found");

    WebService wrongKey;
    wrongKey.SetVerb(L"GET");
    wrongKey.SetPath(L"/Data/Service.svc/Group/list?refid=r1&apikey=wrong");
    EXPECT_TRUE(wrongKey.Call());
    EXPECT_EQ(wrongKey.GetResult(), L"invalid api key");

    const std::vector<Recorded> journal = Journal();
    ASSERT_EQ(journal.size(), 2u);
    EXPECT_EQ(journal[0].status, 404);
    EXPECT_EQ(journal[1].status, 403);
}

TEST_F(HttpAdapterTest, ALongResultIsReadWhole) {
    // Item 1's long name makes the answer span several 2000-byte reads.
    WebServiceAnalysis analysis;
    analysis.SetItemID(L"1");
    analysis.SetMessageFormat(L"f");
    analysis.SetFormatVersion(L"v");
    analysis.Call();
    const std::wstring expected =
        L"<Analysis schema=\"1\" status=\"no-upload\" session=\"s1\" user=\"u1\" "
        L"referrer=\"r1\" item=\"1\"><Item>" +
        std::wstring(2200, L'\u00e9') +
        L"</Item><Message>No upload for session s1.</Message><Verdict level=\"minimum\">"
        L"unknown</Verdict><Verdict level=\"recommended\">unknown</Verdict></Analysis>";
    EXPECT_EQ(analysis.GetResult(), expected);
    EXPECT_EQ(analysis.GetBytesReceived(), 2u * expected.size());
}

// The download file through the same calls the client makes: WinINet hands out the body in reads
// of at most the size asked for.
TEST_F(HttpAdapterTest, WinInetReadsADownloadInChunksOfTheRequestedSize) {
    os::Win32Http http;
    const os::InternetCloser closer(http);
    using Handle = os::UniqueHandle<os::HInternet, os::InternetCloser>;
    Handle session(http.OpenSession(L"RIGEL", 0, std::nullopt, std::nullopt, 0), closer);
    ASSERT_TRUE(session);
    Handle connection(http.Connect(session.get(), L"127.0.0.1",
                                   static_cast<std::uint16_t>(RIGEL_DATA_SERVICE_PORT),
                                   std::wstring(), std::wstring(), 3, 0x40000),
                      closer);
    ASSERT_TRUE(connection);
    Handle request(
        http.OpenRequest(connection.get(), L"GET", L"/global/tests/test_2.bin",
                         std::wstring(L"HTTP/1.1"), std::nullopt, {L"text/*"}, 0xA4400000),
        closer);
    ASSERT_TRUE(request);
    ASSERT_TRUE(http.SendRequest(request.get(), std::nullopt, std::nullopt));

    std::array<std::uint8_t, 64> status{};
    auto size = static_cast<std::uint32_t>(status.size());
    ASSERT_TRUE(http.QueryInfo(request.get(), 19, status.data(), size));
    EXPECT_EQ(std::wstring(reinterpret_cast<const wchar_t*>(status.data()), size / 2), L"200");

    std::vector<std::uint32_t> counts;
    std::string bytes;
    std::array<std::uint8_t, 2000> chunk{};
    for (int reads = 0; reads < 10; ++reads) {
        std::uint32_t read = 0;
        ASSERT_TRUE(http.ReadFile(request.get(), chunk.data(), 2000, read));
        counts.push_back(read);
        if (read == 0) break;
        bytes.append(reinterpret_cast<const char*>(chunk.data()), read);
    }
    EXPECT_EQ(counts, (std::vector<std::uint32_t>{2000, 2000, 500, 0}));
    ASSERT_EQ(bytes.size(), kDownloadSize);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        ASSERT_EQ(static_cast<std::size_t>(static_cast<std::uint8_t>(bytes[i])), i % 256)
            << "byte " << i;
    }
}

TEST_F(HttpAdapterTest, DownloadSpeedTestReadsTheTestFileFromTheContentHost) {
    const std::wstring rate = DownloadSpeedTest::Run(NetworkDevice::TestFileUrl());
    // The whole file in one millisecond or more (a faster download counts as one).
    const std::uint64_t bitsPerSecond = BitsPerSecond(rate);
    EXPECT_GT(bitsPerSecond, 0u);
    EXPECT_LE(bitsPerSecond, kDownloadSize * 8000);

    const Recorded sent = Only();
    EXPECT_EQ(sent.RequestLine(), "GET /global/tests/test_2.bin HTTP/1.1");
    EXPECT_EQ(sent.status, 200);
    EXPECT_EQ(sent.Header("User-Agent"), "RIGEL");
    EXPECT_EQ(sent.Header("Host"), Host());
    EXPECT_EQ(sent.Header("Pragma"), "no-cache");
}

TEST_F(HttpAdapterTest, DownloadSpeedTestOnAClosedPortGivesNoText) {
    EXPECT_EQ(DownloadSpeedTest::Run(L"http://127.0.0.1:1/global/tests/test_2.bin"), L"");
}

TEST_F(HttpAdapterTest, UploadSpeedTestPostsTenAndFiftyThousandLetters) {
    BitsPerSecond(UploadSpeedTest::Run());

    const std::vector<Recorded> journal = Journal();
    ASSERT_EQ(journal.size(), 2u);
    const std::size_t sizes[] = {10000, 50000};
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(journal[i].RequestLine(),
                  "POST /Data/Service.svc/upload?apikey=" + kApiKey + " HTTP/1.1");
        EXPECT_EQ(journal[i].status, 200);
        ExpectPostHeaders(journal[i], "application/xml", sizes[i]);
        EXPECT_EQ(journal[i].body, std::string(sizes[i], 'x'));
    }
    EXPECT_EQ(SpeedUploadSizes(), (std::vector<std::uint64_t>{10000, 50000}));
}

TEST_F(HttpAdapterTest, NetworkDeviceStoresBothSpeedsWhenTheirGroupsAreEnabled) {
    ReferrerGroups& groups = session().GetReferrerGroups();
    groups.loaded = true;
    groups.referrer = L"r1";
    groups.groups = {GroupID(71069), GroupID(71422)};
    EXPECT_TRUE(NetworkDevice().Detect());

    std::vector<std::wstring> speeds;
    for (const SystemValue& value : session().GetSystemValues().Values()) {
        const std::wstring id = value.id.ToString();
        if (id != L"71069#0" && id != L"71422#0") continue;
        // The stored text is the bandwidth's own form.
        EXPECT_EQ(value.text, Bandwidth(value.text).ToString()) << Narrow(id);
        speeds.push_back(id);
    }
    EXPECT_EQ(speeds, (std::vector<std::wstring>{L"71069#0", L"71422#0"}));
    const std::vector<Recorded> journal = Journal();
    ASSERT_EQ(journal.size(), 3u);
    EXPECT_EQ(journal[0].RequestLine(), "GET /global/tests/test_2.bin HTTP/1.1");
    EXPECT_EQ(SpeedUploadSizes(), (std::vector<std::uint64_t>{10000, 50000}));
}

}  // namespace
}  // namespace rigel
