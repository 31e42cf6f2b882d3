#pragma once

#include <cstddef>
#include <cstdint>

namespace rigel {

// How long the control waits on the network and how much of a reply it keeps. Any page can host
// the control and its visitor waits on it, so no server, however silent, slow or endless, may hold
// the page for ever or fill its memory. Times are in milliseconds.
struct NetworkBudgets {
    // Set on every request handle: one connection attempt, one send, one wait for reply bytes.
    std::uint32_t connectTimeout = 0;
    std::uint32_t sendTimeout = 0;
    std::uint32_t receiveTimeout = 0;
    // From the start of a request; its reply is not read beyond it.
    std::uint32_t requestBudget = 0;
    // The download test reads, and the upload test posts, for no longer.
    std::uint32_t speedTestBudget = 0;
    // Bytes of a reply that are read at most.
    std::size_t replyCap = 0;

    // The bounds this build was configured with.
    static const NetworkBudgets& Built();
};

}  // namespace rigel
