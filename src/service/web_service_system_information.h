#pragma once

#include "service/web_service.h"

namespace rigel {

// The upload of the XML report of the session's value store, rendered when the request is made.
class WebServiceSystemInformation : public WebService {
  public:
    WebServiceSystemInformation();
};

}  // namespace rigel
