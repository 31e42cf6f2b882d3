#include "service/web_service.h"

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>

#include <boost/algorithm/string/replace.hpp>

#include "diag/deadline.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "diag/timer.h"
#include "os/http.h"
#include "os/internet_closer.h"
#include "os/services.h"
#include "os/unique_handle.h"
#include "service/network_budgets.h"
#include "service/time_outs.h"
#include "service/utf8.h"

namespace rigel {
namespace {

using InternetHandle = os::UniqueHandle<os::HInternet, os::InternetCloser>;

static_assert(RIGEL_DATA_SERVICE_PORT > 0 && RIGEL_DATA_SERVICE_PORT <= 65535,
              "the data service port must be a TCP port number");

constexpr std::uint32_t kPreconfiguredAccess = 0;     // INTERNET_OPEN_TYPE_PRECONFIG
constexpr std::uint32_t kServiceHttp = 3;             // INTERNET_SERVICE_HTTP
constexpr std::uint32_t kNoAuthentication = 0x40000;  // INTERNET_FLAG_NO_AUTH
// Always from the server, over a reused keep-alive connection, never into the cache.
constexpr std::uint32_t kRequestFlags = 0x80000000 | 0x20000000 | 0x04000000 | 0x00400000;
constexpr std::uint32_t kQueryStatusCode = 19;  // HTTP_QUERY_STATUS_CODE
constexpr std::uint32_t kQueryStatusText = 20;  // HTTP_QUERY_STATUS_TEXT
constexpr std::size_t kStatusBufferSize = 2000;
constexpr std::size_t kReadChunkSize = 2000;

std::wstring Widen(const char* text) {
    std::wstring wide;
    for (; *text != '\0'; ++text) wide += static_cast<wchar_t>(*text);
    return wide;
}

template <typename Text>
Text UpToFirstNul(const Text& text) {
    return text.substr(0, text.find(typename Text::value_type{}));
}

std::wstring Headers(const std::wstring& contentType, std::size_t bodyLength) {
    std::wstring headers = L"Content-Type: ^content_type; charset=utf-8";
    boost::algorithm::replace_all(headers, L"^content_type", contentType);
    return headers + L"\r\nContent-Length: " + std::to_wstring(bodyLength);
}

// The status is asked for but not judged: an error page is read like any other response.
void QueryStatus(os::Http& http, os::HInternet request) {
    Log& log = Log::Instance();
    alignas(wchar_t) std::array<std::uint8_t, kStatusBufferSize> buffer{};
    auto size = static_cast<std::uint32_t>(buffer.size());
    if (!http.QueryInfo(request, kQueryStatusCode, buffer.data(), size)) {
        log.Line(Log::kError, L"Can't get status.");
    }
    size = static_cast<std::uint32_t>(buffer.size());
    if (!http.QueryInfo(request, kQueryStatusText, buffer.data(), size)) {
        log.Line(Log::kError, L"Can't get data.");
    }
}

// Reads until the reply ends or a read fails; a reply that reaches the cap, or is still arriving
// when the request's budget is spent, counts as broken off there. Whatever arrived is kept.
std::string ReadBody(os::Http& http, os::HInternet request, const Deadline& deadline,
                     std::size_t cap) {
    std::string bytes;
    std::array<std::uint8_t, kReadChunkSize> chunk{};
    for (;;) {
        if (bytes.size() >= cap) {
            Log::Instance().Line(Log::kWarning, L"Reply cut at the cap of ", cap, L" bytes.");
            break;
        }
        if (deadline.Passed()) {
            Log::Instance().Line(Log::kWarning, L"Reply cut at the time budget of ",
                                 deadline.Milliseconds(), L" ms.");
            break;
        }
        const auto size = static_cast<std::uint32_t>(std::min(chunk.size(), cap - bytes.size()));
        std::uint32_t read = 0;
        if (!http.ReadFile(request, chunk.data(), size, read) || read == 0) break;
        bytes.append(reinterpret_cast<const char*>(chunk.data()), std::min(read, size));
    }
    return bytes;
}

}  // namespace

WebService::WebService() : contentType_(L"application/xml") {}

void WebService::SetPath(const wchar_t* path) {
    if (path != nullptr) path_ = path;
}

void WebService::SetBody(const wchar_t* body) {
    if (body != nullptr) body_ = body;
}

void WebService::SetVerb(const wchar_t* verb) {
    if (verb != nullptr) verb_ = verb;
}

void WebService::SetContentType(const wchar_t* contentType) {
    if (contentType != nullptr) contentType_ = contentType;
}

void WebService::ReplaceInBody(const std::wstring& placeholder, const std::wstring& value) {
    boost::algorithm::replace_first(body_, placeholder, value);
}

bool WebService::Call() {
    ScopeTrace trace(L"rigel::WebService::Call");
    Log& log = Log::Instance();
    const NetworkBudgets& budgets = NetworkBudgets::Built();
    const Deadline deadline(budgets.requestBudget);
    os::Http& http = *os::Current().http;
    const os::InternetCloser closer(http);

    InternetHandle session(
        http.OpenSession(L"RIGEL", kPreconfiguredAccess, std::nullopt, std::nullopt, 0), closer);
    if (!session) throw std::runtime_error("Can't open Internet.");

    InternetHandle connection(
        http.Connect(session.get(), Widen(RIGEL_DATA_SERVICE_HOST),
                     static_cast<std::uint16_t>(RIGEL_DATA_SERVICE_PORT), std::wstring(),
                     std::wstring(), kServiceHttp, kNoAuthentication),
        closer);
    if (!connection) throw std::runtime_error("Can't open Internet connection.");

    InternetHandle request(
        http.OpenRequest(connection.get(), verb_, path_, std::wstring(L"HTTP/1.1"), std::nullopt,
                         {L"text/*"}, kRequestFlags),
        closer);
    if (!request) throw std::runtime_error("Can't open Internet request.");
    // Without time-outs of its own a request to a silent server would wait for ever; one that runs
    // out of time fails like any other send or read.
    TimeOuts::Set(http, request.get(), budgets);

    Timer timer;
    timer.Start();
    bool sent = false;
    if (verb_ != L"POST") {
        sent = http.SendRequest(request.get(), std::nullopt, std::nullopt);
    } else {
        const std::string body = Utf8::Encode(UpToFirstNul(body_));
        const std::wstring headers = Headers(contentType_, body.size());
        log.Line(Log::kDump, L"Header: ", L" = ", headers);
        bytesSent_ = headers.size() + body.size();
        sent = http.SendRequest(request.get(), headers, body);
    }
    if (!sent) {
        // Read before closing: closing a handle may overwrite the error.
        const std::uint32_t error = http.LastError();
        request.reset();
        connection.reset();
        session.reset();
        log.Line(Log::kError, L"Can't send Internet request. Error: ", error);
        throw std::runtime_error("Can't send Internet request.");
    }
    timer.Stop();
    elapsed_ = timer.ElapsedMilliseconds();

    QueryStatus(http, request.get());
    result_ = Utf8::Decode(UpToFirstNul(ReadBody(http, request.get(), deadline, budgets.replyCap)));
    bytesReceived_ = 2 * static_cast<std::uint64_t>(result_.size());

    log.Line(Log::kTrace, L"Result: ", result_);
    log.Line(Log::kTrace, L"Successfully sent data.");
    return true;
}

}  // namespace rigel
