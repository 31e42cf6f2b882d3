#include "service/time_outs.h"

#include <cstdint>

#include "diag/log.h"

namespace rigel {
namespace {

constexpr std::uint32_t kConnectTimeout = 2;  // INTERNET_OPTION_CONNECT_TIMEOUT
constexpr std::uint32_t kSendTimeout = 5;     // INTERNET_OPTION_SEND_TIMEOUT
constexpr std::uint32_t kReceiveTimeout = 6;  // INTERNET_OPTION_RECEIVE_TIMEOUT

void SetOne(os::Http& http, os::HInternet handle, std::uint32_t option, std::uint32_t value) {
    if (http.SetOption(handle, option, value)) return;
    Log::Instance().Line(Log::kWarning, L"Can't set Internet time-out ", option, L". Error: ",
                         http.LastError());
}

}  // namespace

void TimeOuts::Set(os::Http& http, os::HInternet handle, const NetworkBudgets& budgets) {
    SetOne(http, handle, kConnectTimeout, budgets.connectTimeout);
    SetOne(http, handle, kSendTimeout, budgets.sendTimeout);
    SetOne(http, handle, kReceiveTimeout, budgets.receiveTimeout);
}

}  // namespace rigel
