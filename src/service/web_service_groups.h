#pragma once

#include <string>

#include "service/web_service.h"

namespace rigel {

// The list of groups the data service wants reported for a referrer; the response's second line
// holds their IDs.
class WebServiceGroups : public WebService {
  public:
    explicit WebServiceGroups(const std::wstring& referrerID);
};

}  // namespace rigel
