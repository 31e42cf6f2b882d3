#pragma once

#include "os/http.h"

namespace rigel::os {

// Closes WinINet handles through the service that opened them, for UniqueHandle.
class InternetCloser {
  public:
    explicit InternetCloser(Http& http) : http_(&http) {}
    void operator()(HInternet handle) const { http_->CloseHandle(handle); }

  private:
    Http* http_;
};

}  // namespace rigel::os
