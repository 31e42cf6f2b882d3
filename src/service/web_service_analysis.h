#pragma once

#include <string>

#include "service/web_service.h"

namespace rigel {

// The data service's analysis of this machine, for the session and user of the visit. The caller
// fills in the item, message format and format version before the call.
class WebServiceAnalysis : public WebService {
  public:
    WebServiceAnalysis();

    void SetItemID(const std::wstring& itemID);
    void SetMessageFormat(const std::wstring& messageFormat);
    void SetFormatVersion(const std::wstring& formatVersion);
};

}  // namespace rigel
