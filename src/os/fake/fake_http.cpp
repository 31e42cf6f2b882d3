#include "os/fake/fake_http.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace rigel::os {

const FakeHttp::Exchange& FakeHttp::Last() const {
    if (exchanges.empty()) throw std::logic_error("no HTTP session was opened");
    return exchanges.back();
}

std::size_t FakeHttp::OpenHandles() const {
    return static_cast<std::size_t>(std::count_if(
        issued_.begin(), issued_.end(), [](const auto& entry) { return entry.second.open; }));
}

HInternet FakeHttp::Issue(Kind kind, std::size_t exchange) {
    const HInternet handle = nextHandle_++;
    Issued issued;
    issued.kind = kind;
    issued.exchange = exchange;
    issued_.emplace(handle, issued);
    return handle;
}

FakeHttp::Issued* FakeHttp::Find(HInternet handle, std::initializer_list<Kind> kinds,
                                 const wchar_t* call) {
    const auto found = issued_.find(handle);
    if (found == issued_.end() || !found->second.open ||
        std::find(kinds.begin(), kinds.end(), found->second.kind) == kinds.end()) {
        misuse.push_back(std::wstring(call) + L": bad handle " + std::to_wstring(handle));
        lastError_ = kInvalidHandle;
        return nullptr;
    }
    return &found->second;
}

FakeHttp::Issued* FakeHttp::Answering(HInternet handle, const wchar_t* call) {
    Issued* issued = Find(handle, {Kind::kRequest, Kind::kUrl}, call);
    if (issued == nullptr) return nullptr;
    if (!issued->answer) {
        misuse.push_back(std::wstring(call) + L" before the request was sent");
        lastError_ = kIncorrectHandleState;
        return nullptr;
    }
    return issued;
}

const FakeHttp::Response& FakeHttp::ResponseFor(const std::wstring& key) const {
    const auto found = responses.find(key);
    return found != responses.end() ? found->second : response;
}

bool FakeHttp::Fail(std::uint32_t error) {
    lastError_ = error;
    return false;
}

HInternet FakeHttp::OpenSession(const std::wstring& agent, std::uint32_t accessType,
                                const std::optional<std::wstring>& proxy,
                                const std::optional<std::wstring>& proxyBypass,
                                std::uint32_t flags) {
    Exchange exchange;
    exchange.agent = agent;
    exchange.accessType = accessType;
    exchange.proxy = proxy;
    exchange.proxyBypass = proxyBypass;
    exchange.sessionFlags = flags;
    exchanges.push_back(exchange);
    if (failAt == Step::kOpenSession) {
        lastError_ = failError;
        return 0;
    }
    return exchanges.back().session = Issue(Kind::kSession, exchanges.size() - 1);
}

HInternet FakeHttp::Connect(HInternet session, const std::wstring& host, std::uint16_t port,
                            const std::optional<std::wstring>& user,
                            const std::optional<std::wstring>& password, std::uint32_t service,
                            std::uint32_t flags) {
    Issued* parent = Find(session, {Kind::kSession}, L"Connect");
    if (parent == nullptr) return 0;
    Exchange& exchange = exchanges[parent->exchange];
    exchange.connectedSession = session;
    exchange.host = host;
    exchange.port = port;
    exchange.user = user;
    exchange.password = password;
    exchange.service = service;
    exchange.connectFlags = flags;
    if (failAt == Step::kConnect) {
        lastError_ = failError;
        return 0;
    }
    return exchange.connection = Issue(Kind::kConnection, parent->exchange);
}

HInternet FakeHttp::OpenRequest(HInternet connection, const std::wstring& verb,
                                const std::wstring& objectName,
                                const std::optional<std::wstring>& version,
                                const std::optional<std::wstring>& referrer,
                                const std::vector<std::wstring>& acceptTypes, std::uint32_t flags) {
    Issued* parent = Find(connection, {Kind::kConnection}, L"OpenRequest");
    if (parent == nullptr) return 0;
    Exchange& exchange = exchanges[parent->exchange];
    exchange.requestConnection = connection;
    exchange.verb = verb;
    exchange.objectName = objectName;
    exchange.version = version;
    exchange.referrer = referrer;
    exchange.acceptTypes = acceptTypes;
    exchange.requestFlags = flags;
    if (failAt == Step::kOpenRequest) {
        lastError_ = failError;
        return 0;
    }
    return exchange.request = Issue(Kind::kRequest, parent->exchange);
}

bool FakeHttp::SendRequest(HInternet request, const std::optional<std::wstring>& headers,
                           const std::optional<std::string>& body) {
    Issued* issued = Find(request, {Kind::kRequest}, L"SendRequest");
    if (issued == nullptr) return false;
    Exchange& exchange = exchanges[issued->exchange];
    ++exchange.sends;
    exchange.headers = headers;
    exchange.body = body;
    if (onSend) onSend();
    if (failAt == Step::kSendRequest) return Fail(failError);
    issued->answer = ResponseFor(exchange.objectName);
    issued->offset = 0;
    issued->reads = 0;
    return true;
}

bool FakeHttp::QueryInfo(HInternet request, std::uint32_t infoLevel, std::uint8_t* buffer,
                         std::uint32_t& size) {
    Issued* issued = Answering(request, L"QueryInfo");
    if (issued == nullptr) return false;
    exchanges[issued->exchange].queries.push_back(infoLevel);
    if (std::find(failingQueries.begin(), failingQueries.end(), infoLevel) !=
        failingQueries.end()) {
        return Fail(kHeaderNotFound);
    }
    const std::wstring* text = infoLevel == kQueryStatusCode   ? &issued->answer->statusCode
                               : infoLevel == kQueryStatusText ? &issued->answer->statusText
                                                               : nullptr;
    if (text == nullptr) return Fail(kHeaderNotFound);
    const std::size_t bytes = text->size() * sizeof(wchar_t);
    if (size < bytes + sizeof(wchar_t)) {
        size = static_cast<std::uint32_t>(bytes + sizeof(wchar_t));
        return Fail(kInsufficientBuffer);
    }
    std::memcpy(buffer, text->c_str(), bytes + sizeof(wchar_t));
    size = static_cast<std::uint32_t>(bytes);
    return true;
}

bool FakeHttp::ReadFile(HInternet request, std::uint8_t* buffer, std::uint32_t size,
                        std::uint32_t& bytesRead) {
    bytesRead = 0;
    Issued* issued = Answering(request, L"ReadFile");
    if (issued == nullptr) return false;
    Exchange& exchange = exchanges[issued->exchange];
    exchange.readSizes.push_back(size);
    if (onRead) onRead();
    if (failReadAfter && issued->reads == *failReadAfter) return Fail(readError);
    const std::string& body = issued->answer->body;
    const std::size_t count = std::min<std::size_t>(size, body.size() - issued->offset);
    std::memcpy(buffer, body.data() + issued->offset, count);
    issued->offset += count;
    ++issued->reads;
    bytesRead = static_cast<std::uint32_t>(count);
    exchange.readCounts.push_back(bytesRead);
    return true;
}

bool FakeHttp::CloseHandle(HInternet handle) {
    Issued* issued =
        Find(handle, {Kind::kSession, Kind::kConnection, Kind::kRequest, Kind::kUrl}, L"Close");
    if (issued == nullptr) return false;
    issued->open = false;
    closed.push_back(handle);
    // Closing may overwrite the error of an earlier failure, so callers must read it first.
    lastError_ = 0;
    return true;
}

std::uint32_t FakeHttp::LastError() { return lastError_; }

HInternet FakeHttp::OpenUrl(HInternet session, const std::wstring& url,
                            const std::optional<std::wstring>& headers, std::uint32_t flags) {
    Issued* parent = Find(session, {Kind::kSession}, L"OpenUrl");
    if (parent == nullptr) return 0;
    const std::size_t index = parent->exchange;
    Exchange& exchange = exchanges[index];
    exchange.url = url;
    exchange.urlHeaders = headers;
    exchange.urlFlags = flags;
    if (failAt == Step::kOpenUrl) {
        lastError_ = failError;
        return 0;
    }
    exchange.urlRequest = Issue(Kind::kUrl, index);
    issued_.at(exchange.urlRequest).answer = ResponseFor(url);
    return exchange.urlRequest;
}

bool FakeHttp::QueryDataAvailable(HInternet request, std::uint32_t& bytesAvailable) {
    bytesAvailable = 0;
    Issued* issued = Answering(request, L"QueryDataAvailable");
    if (issued == nullptr) return false;
    const std::size_t left = issued->answer->body.size() - issued->offset;
    bytesAvailable = static_cast<std::uint32_t>(std::min<std::size_t>(left, availableChunk));
    return true;
}

bool FakeHttp::SetOption(HInternet handle, std::uint32_t option, std::uint32_t value) {
    Issued* issued =
        Find(handle, {Kind::kSession, Kind::kConnection, Kind::kRequest, Kind::kUrl}, L"SetOption");
    if (issued == nullptr) return false;
    if (std::find(failingOptions.begin(), failingOptions.end(), option) != failingOptions.end()) {
        return Fail(kInvalidOption);
    }
    exchanges[issued->exchange].options.push_back({handle, option, value});
    return true;
}

}  // namespace rigel::os
