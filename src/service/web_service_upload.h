#pragma once

#include <string>

#include "service/web_service.h"

namespace rigel {

// A post of the caller's text as it is, for measuring the upload speed.
class WebServiceUpload : public WebService {
  public:
    explicit WebServiceUpload(const std::wstring& data);
    virtual ~WebServiceUpload() = default;
    WebServiceUpload(const WebServiceUpload&) = default;
    WebServiceUpload& operator=(const WebServiceUpload&) = default;
};

}  // namespace rigel
