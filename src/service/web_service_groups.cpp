#include "service/web_service_groups.h"

namespace rigel {

WebServiceGroups::WebServiceGroups(const std::wstring& referrerID) {
    SetVerb(L"GET");
    SetPath(L"/Data/Service.svc/Group/list?refid=" + referrerID + L"&apikey=" + kApiKey);
}

}  // namespace rigel
