#include "service/web_service_upload.h"

namespace rigel {

WebServiceUpload::WebServiceUpload(const std::wstring& data) {
    SetVerb(L"POST");
    SetPath(std::wstring(L"/Data/Service.svc/upload?apikey=") + kApiKey);
    SetBody(data);
}

}  // namespace rigel
