#pragma once

#include "os/http.h"
#include "service/network_budgets.h"

namespace rigel {

// The connect, send and receive time-outs of a request handle. Windows applies those of a session
// handle to the handles made through it as well.
class TimeOuts {
  public:
    // Sets all three; one that the handle refuses keeps the system's default and is logged.
    static void Set(os::Http& http, os::HInternet handle, const NetworkBudgets& budgets);
};

}  // namespace rigel
