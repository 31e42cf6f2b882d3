#pragma once

#include <cstdint>
#include <string>

namespace rigel {

// Measures the upload rate with two posts of different sizes to the data service, so that the
// fixed cost of a request (connection, server time) can be taken out of the transfer time.
class UploadSpeedTest {
  public:
    // One post: milliseconds to the response headers and bytes sent (headers and body).
    struct Sample {
        std::uint64_t milliseconds = 0;
        std::uint64_t bytes = 0;
    };

    // Sends both posts and returns the rate as "<bits per second> bps". Throws the web client's
    // exception when a post fails. When the first post uses up the speed test's budget
    // (NetworkBudgets), the second is not sent and the rate is the first one's.
    static std::wstring Run();

    // The time a post of zero bytes would take, on the line through the two samples.
    static std::uint64_t FixedCost(const Sample& small, const Sample& large);
    // The rate of the larger post once the fixed cost is taken out, in bits per second.
    static std::uint64_t Rate(const Sample& large, std::uint64_t fixedCost);
};

}  // namespace rigel
