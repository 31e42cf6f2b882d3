#include "service/web_data_service.h"

#include "service/web_service_groups.h"
#include "service/web_service_system_information.h"

namespace rigel {

std::wstring WebDataService::RequestGroups(const std::wstring& referrerID) {
    WebServiceGroups request(referrerID);
    request.Call();
    return request.GetResult();
}

std::wstring WebDataService::SendSystemInformation() {
    WebServiceSystemInformation request;
    request.Call();
    return request.GetResult();
}

DataService& ProductDataService() {
    static WebDataService service;
    return service;
}

}  // namespace rigel
