#include "service/web_service_analysis.h"

#include "core/system.h"

namespace rigel {

WebServiceAnalysis::WebServiceAnalysis() {
    const System& session = System::Instance();
    SetVerb(L"POST");
    SetPath(L"/service/Analysis/" + session.GetReferrerID());
    SetBody(
        L"<System><SessionID>^session_id</SessionID><ItemID>^item_id</ItemID>"
        L"<UserID>^user_id</UserID><Format>^message_format</Format>"
        L"<Schema>^format_version</Schema></System>");
    ReplaceInBody(L"^session_id", session.GetSessionID());
    ReplaceInBody(L"^user_id", session.GetUserID());
}

void WebServiceAnalysis::SetItemID(const std::wstring& itemID) {
    ReplaceInBody(L"^item_id", itemID);
}

void WebServiceAnalysis::SetMessageFormat(const std::wstring& messageFormat) {
    ReplaceInBody(L"^message_format", messageFormat);
}

void WebServiceAnalysis::SetFormatVersion(const std::wstring& formatVersion) {
    ReplaceInBody(L"^format_version", formatVersion);
}

}  // namespace rigel
