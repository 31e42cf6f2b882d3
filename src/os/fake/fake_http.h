#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "os/http.h"

namespace rigel::os {

// An HTTP server in memory: records every call exactly as made, answers with the response a test
// sets (the body in chunks of exactly the size the reader asks for), and fails any step on demand.
// Each session holds one conversation; handles are numbered from 1 and never reused.
class FakeHttp : public Http {
  public:
    // Error codes as Windows reports them.
    static constexpr std::uint32_t kInvalidHandle = 6;             // ERROR_INVALID_HANDLE
    static constexpr std::uint32_t kInsufficientBuffer = 122;      // ERROR_INSUFFICIENT_BUFFER
    static constexpr std::uint32_t kTimeout = 12002;               // ERROR_INTERNET_TIMEOUT
    static constexpr std::uint32_t kInvalidOption = 12009;         // ERROR_INTERNET_INVALID_OPTION
    static constexpr std::uint32_t kIncorrectHandleState = 12019;  // before the send
    static constexpr std::uint32_t kCannotConnect = 12029;         // ERROR_INTERNET_CANNOT_CONNECT
    static constexpr std::uint32_t kConnectionAborted = 12030;     // closed mid-body
    static constexpr std::uint32_t kHeaderNotFound = 12150;        // ERROR_HTTP_HEADER_NOT_FOUND
    static constexpr std::uint32_t kQueryStatusCode = 19;          // HTTP_QUERY_STATUS_CODE
    static constexpr std::uint32_t kQueryStatusText = 20;          // HTTP_QUERY_STATUS_TEXT

    struct Response {
        std::wstring statusCode = L"200";
        std::wstring statusText = L"OK";
        std::string body;
    };

    enum class Step { kNone, kOpenSession, kConnect, kOpenRequest, kSendRequest, kOpenUrl };

    // One option set on a handle.
    struct Option {
        HInternet handle = 0;
        std::uint32_t option = 0;
        std::uint32_t value = 0;
        bool operator==(const Option& other) const {
            return handle == other.handle && option == other.option && value == other.value;
        }
    };

    // One session and what was asked through it.
    struct Exchange {
        HInternet session = 0;
        std::wstring agent;
        std::uint32_t accessType = 0;
        std::optional<std::wstring> proxy;
        std::optional<std::wstring> proxyBypass;
        std::uint32_t sessionFlags = 0;

        HInternet connection = 0;
        HInternet connectedSession = 0;  // the handle Connect was given
        std::wstring host;
        std::uint16_t port = 0;
        std::optional<std::wstring> user;
        std::optional<std::wstring> password;
        std::uint32_t service = 0;
        std::uint32_t connectFlags = 0;

        HInternet request = 0;
        HInternet requestConnection = 0;  // the handle OpenRequest was given
        std::wstring verb;
        std::wstring objectName;
        std::optional<std::wstring> version;
        std::optional<std::wstring> referrer;
        std::vector<std::wstring> acceptTypes;
        std::uint32_t requestFlags = 0;

        HInternet urlRequest = 0;
        std::wstring url;
        std::optional<std::wstring> urlHeaders;
        std::uint32_t urlFlags = 0;

        int sends = 0;
        std::optional<std::wstring> headers;
        std::optional<std::string> body;

        std::vector<Option> options;            // in the order they were set
        std::vector<std::uint32_t> queries;     // info levels, in order
        std::vector<std::uint32_t> readSizes;   // buffer size of each read
        std::vector<std::uint32_t> readCounts;  // bytes each successful read gave back
    };

    // What the server answers: the response for the request's object name or URL if there is
    // one, else the default response.
    Response response;
    std::map<std::wstring, Response> responses;

    // The step that fails, and the error LastError then reports.
    Step failAt = Step::kNone;
    std::uint32_t failError = kCannotConnect;
    // Info levels whose query fails with kHeaderNotFound.
    std::vector<std::uint32_t> failingQueries;
    // Options whose setting fails with kInvalidOption (and is not recorded).
    std::vector<std::uint32_t> failingOptions;
    // The read after this many successful reads fails with readError.
    std::optional<std::size_t> failReadAfter;
    std::uint32_t readError = kConnectionAborted;
    // At most this many bytes are reported available at once.
    std::uint32_t availableChunk = 8192;
    // Run inside the send and inside each read, so a test can move a clock on.
    std::function<void()> onSend;
    std::function<void()> onRead;

    std::vector<Exchange> exchanges;
    // Handles in the order they were closed.
    std::vector<HInternet> closed;
    // Calls with unknown, closed or wrong-kind handles, or out of order.
    std::vector<std::wstring> misuse;

    // The most recent exchange; throws std::logic_error when there is none.
    const Exchange& Last() const;
    // Handles issued and not closed yet.
    std::size_t OpenHandles() const;

    HInternet OpenSession(const std::wstring& agent, std::uint32_t accessType,
                          const std::optional<std::wstring>& proxy,
                          const std::optional<std::wstring>& proxyBypass,
                          std::uint32_t flags) override;
    HInternet Connect(HInternet session, const std::wstring& host, std::uint16_t port,
                      const std::optional<std::wstring>& user,
                      const std::optional<std::wstring>& password, std::uint32_t service,
                      std::uint32_t flags) override;
    HInternet OpenRequest(HInternet connection, const std::wstring& verb,
                          const std::wstring& objectName,
                          const std::optional<std::wstring>& version,
                          const std::optional<std::wstring>& referrer,
                          const std::vector<std::wstring>& acceptTypes,
                          std::uint32_t flags) override;
    bool SendRequest(HInternet request, const std::optional<std::wstring>& headers,
                     const std::optional<std::string>& body) override;
    bool QueryInfo(HInternet request, std::uint32_t infoLevel, std::uint8_t* buffer,
                   std::uint32_t& size) override;
    bool ReadFile(HInternet request, std::uint8_t* buffer, std::uint32_t size,
                  std::uint32_t& bytesRead) override;
    bool CloseHandle(HInternet handle) override;
    std::uint32_t LastError() override;
    HInternet OpenUrl(HInternet session, const std::wstring& url,
                      const std::optional<std::wstring>& headers, std::uint32_t flags) override;
    bool QueryDataAvailable(HInternet request, std::uint32_t& bytesAvailable) override;
    bool SetOption(HInternet handle, std::uint32_t option, std::uint32_t value) override;

  private:
    enum class Kind { kSession, kConnection, kRequest, kUrl };

    struct Issued {
        Kind kind = Kind::kSession;
        std::size_t exchange = 0;
        bool open = true;
        // Set once the response is chosen (after the send or the URL open).
        std::optional<Response> answer;
        std::size_t offset = 0;
        std::size_t reads = 0;
    };

    HInternet Issue(Kind kind, std::size_t exchange);
    // The open handle of one of the kinds, or null after recording the misuse.
    Issued* Find(HInternet handle, std::initializer_list<Kind> kinds, const wchar_t* call);
    // The answering handle of a request or URL, or null after recording the misuse.
    Issued* Answering(HInternet handle, const wchar_t* call);
    const Response& ResponseFor(const std::wstring& key) const;
    bool Fail(std::uint32_t error);

    std::map<HInternet, Issued> issued_;
    HInternet nextHandle_ = 1;
    std::uint32_t lastError_ = 0;
};

}  // namespace rigel::os
