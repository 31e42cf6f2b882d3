#pragma once

#include <cstdint>
#include <string>

namespace rigel {

// One synchronous HTTP request to the data service: a path, a verb, a content type and a body.
// Call sends it through its own session, connection and request handles, reads the whole response
// into the result and records how long the send took and how many bytes went each way.
class WebService {
  public:
    WebService();

    void SetPath(const std::wstring& path) { path_ = path; }
    void SetBody(const std::wstring& body) { body_ = body; }
    void SetVerb(const std::wstring& verb) { verb_ = verb; }
    void SetContentType(const std::wstring& contentType) { contentType_ = contentType; }
    // A null pointer leaves the field as it is.
    void SetPath(const wchar_t* path);
    void SetBody(const wchar_t* body);
    void SetVerb(const wchar_t* verb);
    void SetContentType(const wchar_t* contentType);

    // Replaces the first occurrence of the placeholder in the body; later ones stay.
    void ReplaceInBody(const std::wstring& placeholder, const std::wstring& value);

    // Sends the request and reads the response, whatever its status. True once the send
    // succeeded, even if the response broke off early. Throws std::runtime_error when the session,
    // connection or request cannot be opened or the send fails, after closing what was opened.
    // Every wait is bounded (NetworkBudgets): a send that times out fails, and a response read
    // past the reply cap or the request's budget counts as broken off there.
    bool Call();

    const std::wstring& GetResult() const { return result_; }
    // Milliseconds from the start of the send to the response headers.
    std::int64_t GetElapsed() const { return elapsed_; }
    // Header characters plus body bytes of the last POST.
    std::uint64_t GetBytesSent() const { return bytesSent_; }
    // Twice the result's length in characters.
    std::uint64_t GetBytesReceived() const { return bytesReceived_; }

  protected:
    static constexpr const wchar_t* kApiKey = L"5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5";

  private:
    std::wstring path_;
    std::wstring body_;
    std::wstring result_;
    std::wstring verb_;
    std::wstring contentType_;
    std::int64_t elapsed_ = 0;
    std::uint64_t bytesSent_ = 0;
    std::uint64_t bytesReceived_ = 0;
};

}  // namespace rigel
