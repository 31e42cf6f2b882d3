#include "service/network_budgets.h"

namespace rigel {

const NetworkBudgets& NetworkBudgets::Built() {
    static const NetworkBudgets built{RIGEL_HTTP_CONNECT_TIMEOUT_MS, RIGEL_HTTP_SEND_TIMEOUT_MS,
                                      RIGEL_HTTP_RECEIVE_TIMEOUT_MS, RIGEL_HTTP_REQUEST_BUDGET_MS,
                                      RIGEL_SPEED_TEST_BUDGET_MS,    RIGEL_HTTP_REPLY_CAP_BYTES};
    return built;
}

}  // namespace rigel
