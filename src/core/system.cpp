#include "core/system.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "core/data_service.h"
#include "core/decimal_text.h"
#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/clock.h"
#include "os/services.h"
#include "rigel_version.h"

namespace rigel {
namespace {

System* instance = nullptr;

constexpr std::uint32_t kSessionIDValue = 71424;
constexpr std::uint32_t kReferrerIDValue = 71218;
constexpr std::uint32_t kUserIDValue = 71206;
constexpr std::uint32_t kComputerIDValue = 71207;
constexpr std::uint64_t kUploadInterval = 600;

std::wstring Widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }

}  // namespace

System& System::Instance() {
    // Created on first use and never destroyed: every control of the process shares it.
    if (instance == nullptr) instance = new System();
    return *instance;
}

void System::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

System::System() { Initialize(); }

System::~System() = default;

void System::Initialize() {
    ScopeTrace trace(L"rigel::System::Initialize");
    boost::uuids::random_generator generate;
    sessionID_ = Widen(boost::uuids::to_string(generate()));
}

const std::wstring& System::GetVersion() {
    static const std::wstring version = Widen(RIGEL_VERSION_TEXT);
    return version;
}

bool System::IsDebug() const { return !debug_.empty() && debug_ != L"0"; }

void System::SetSessionID(const std::wstring& text) {
    if (text.empty()) return;
    sessionID_ = text;
    reportSent_ = false;
}

void System::SetComputerID(const std::wstring& text) {
    if (text.empty()) return;
    computerID_ = text;
    reportSent_ = false;
}

void System::SetReferrerID(const std::wstring& text) {
    if (!text.empty()) referrerID_ = text;
}

void System::SetUserID(const std::wstring& text) { userID_ = text; }

void System::SetDebug(const std::wstring& text) { debug_ = text; }

bool System::ExtractTag(const std::wstring& source, const std::wstring& startTag,
                        const std::wstring& endTag, std::wstring& out) {
    Log& log = Log::Instance();
    const auto start = source.find(startTag);
    const long long s = start == std::wstring::npos ? -1 : static_cast<long long>(start);
    long long e = -1;
    bool found = false;
    if (s >= 0) {
        const auto end = source.find(endTag, start);
        if (end == std::wstring::npos || end <= start) {
            log.Line(Log::kTrace, L"value= ", out);
            return false;
        }
        e = static_cast<long long>(end);
    }
    log.Line(Log::kTrace, L"len= ", startTag.size());
    log.Line(Log::kTrace, L"s= ", s);
    log.Line(Log::kTrace, L"e= ", e);
    if (s >= 0 && static_cast<std::size_t>(e) >= start + startTag.size()) {
        out = source.substr(start + startTag.size(),
                            static_cast<std::size_t>(e) - start - startTag.size());
    } else {
        out.clear();
    }
    found = !out.empty();
    log.Line(Log::kTrace, L"value= ", out);
    return found;
}

void System::SetConfiguration(const std::wstring& config) {
    ScopeTrace trace(L"rigel::System::SetConfiguration");
    Log::Instance().Line(Log::kTrace, L"config= ", config);
    if (config.empty()) return;

    std::wstring text;
    if (ExtractTag(config, L"<debug>", L"</debug>", text)) debug_ = text;
    if (ExtractTag(config, L"<session_id>", L"</session_id>", text)) sessionID_ = text;
    if (ExtractTag(config, L"<user_id>", L"</user_id>", text)) userID_ = text;
    if (ExtractTag(config, L"<referrer_id>", L"</referrer_id>", text)) referrerID_ = text;
    if (ExtractTag(config, L"<logging>", L"</logging>", text)) {
        Log::Instance().SetLevel(ParseSignedDecimal(text));
    }
}

void System::StoreIdentifiers() {
    values_.AddValue(kSessionIDValue, sessionID_);
    values_.AddValue(kReferrerIDValue, referrerID_);
    values_.AddValue(kUserIDValue, userID_);
}

void System::UploadUnlessRecent() {
    const std::int64_t now = os::Current().clock->UnixTime();
    if (reportSent_ && static_cast<std::uint64_t>(now - lastUploadTime_) < kUploadInterval) return;
    DataService::Current().SendSystemInformation();
    reportSent_ = true;
    lastUploadTime_ = now;
}

void System::Detect() {
    ScopeTrace trace(L"rigel::System::Detect");
    StoreIdentifiers();
    if (!detected_) {
        referrerGroups_.Load(referrerID_);
        components_.Detect();
        detected_ = true;
    }
    UploadUnlessRecent();

    SystemValue computer{SystemValueID(GroupID(kComputerIDValue), 0), std::wstring()};
    computerID_ = values_.TryGetValue(computer.id, computer) ? computer.text : std::wstring();
    Log::Instance().flush();
}

}  // namespace rigel
