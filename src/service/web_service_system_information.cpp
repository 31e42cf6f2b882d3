#include "service/web_service_system_information.h"

#include <string>

#include <boost/algorithm/string/replace.hpp>

#include "core/system.h"
#include "core/xml_report.h"

namespace rigel {
namespace {

// The report travels as text inside the Data element. The ampersands go first so that those of
// the entities made afterwards stay as they are.
std::wstring Escape(std::wstring text) {
    boost::algorithm::replace_all(text, L"&", L"&amp;");
    boost::algorithm::replace_all(text, L"<", L"&lt;");
    boost::algorithm::replace_all(text, L">", L"&gt;");
    return text;
}

}  // namespace

WebServiceSystemInformation::WebServiceSystemInformation() {
    System& session = System::Instance();
    SetVerb(L"POST");
    SetPath(L"/SystemInformation/?refid=" + session.GetReferrerID() + L"&sessid=" +
            session.GetSessionID());
    SetContentType(L"text/xml");
    SetBody(L"<SystemInformation><Data>^sys_info</Data></SystemInformation>");
    std::wstring report;
    XMLReport(session.GetSystemValues()).GetReport(report);
    ReplaceInBody(L"^sys_info", Escape(report));
}

}  // namespace rigel
