#pragma once

#include <cstdint>
#include <string>

namespace rigel {

// Measures the download rate by fetching one file over HTTP and counting its bytes.
class DownloadSpeedTest {
  public:
    // Fetches the URL and returns the rate as "<bits per second> bps", or an empty text when the
    // session or the URL cannot be opened or the transfer breaks off. Reading stops at the speed
    // test's budget (NetworkBudgets); the rate is then that of the bytes that arrived.
    static std::wstring Run(const std::wstring& url);

    // The rate of a completed download, in bits per second.
    static std::uint64_t Rate(std::uint64_t bytes, std::uint64_t milliseconds);
};

}  // namespace rigel
