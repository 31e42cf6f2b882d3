#include "service/download_speed_test.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "diag/deadline.h"
#include "diag/log.h"
#include "os/clock.h"
#include "os/http.h"
#include "os/internet_closer.h"
#include "os/services.h"
#include "os/unique_handle.h"
#include "service/network_budgets.h"
#include "service/time_outs.h"

namespace rigel {
namespace {

using InternetHandle = os::UniqueHandle<os::HInternet, os::InternetCloser>;

constexpr std::uint32_t kPreconfiguredAccess = 0;  // INTERNET_OPEN_TYPE_PRECONFIG
// Always from the server, never into the cache, with a no-cache pragma for proxies.
constexpr std::uint32_t kUrlFlags = 0x80000000 | 0x04000000 | 0x00000100;
constexpr std::uint32_t kReadSize = 5000;

// Reads the body, counting and dropping it, until it ends or the test's time is up; nullopt when
// a query or a read fails.
std::optional<std::uint64_t> CountBody(os::Http& http, os::HInternet request,
                                       const Deadline& deadline) {
    std::vector<std::uint8_t> buffer(kReadSize + 1);
    std::uint64_t total = 0;
    for (;;) {
        // On a slow link the bytes that arrived in the test's time give the true rate.
        if (deadline.Passed()) {
            Log::Instance().Line(Log::kWarning, L"Download test stopped at its time budget of ",
                                 deadline.Milliseconds(), L" ms.");
            return total;
        }
        std::uint32_t available = 0;
        if (!http.QueryDataAvailable(request, available)) return std::nullopt;
        std::uint32_t read = 0;
        if (!http.ReadFile(request, buffer.data(), std::min(kReadSize, available), read)) {
            return std::nullopt;
        }
        if (read == 0) return total;
        total += std::min(read, kReadSize);
    }
}

}  // namespace

std::uint64_t DownloadSpeedTest::Rate(std::uint64_t bytes, std::uint64_t milliseconds) {
    // A download faster than the millisecond the counter is read in has no measurable time;
    // taking it as one millisecond reports the lowest rate that the measurement allows.
    return bytes * 8000 / std::max<std::uint64_t>(milliseconds, 1);
}

std::wstring DownloadSpeedTest::Run(const std::wstring& url) {
    os::Http& http = *os::Current().http;
    os::Clock& clock = *os::Current().clock;
    const os::InternetCloser closer(http);
    const NetworkBudgets& budgets = NetworkBudgets::Built();
    const Deadline deadline(budgets.speedTestBudget);

    InternetHandle session(
        http.OpenSession(L"RIGEL", kPreconfiguredAccess, std::nullopt, std::nullopt, 0), closer);
    if (!session) return std::wstring();
    // The URL's request is made and sent in one call, so its time-outs come from the session.
    TimeOuts::Set(http, session.get(), budgets);
    InternetHandle request(http.OpenUrl(session.get(), url, std::nullopt, kUrlFlags), closer);
    if (!request) return std::wstring();
    TimeOuts::Set(http, request.get(), budgets);

    const std::int64_t start = clock.PerformanceCounter();
    const std::optional<std::uint64_t> bytes = CountBody(http, request.get(), deadline);
    const std::int64_t end = clock.PerformanceCounter();
    request.reset();

    const std::int64_t frequency = clock.PerformanceFrequency();
    if (!bytes || frequency < 1 || start < 1 || end <= start) return std::wstring();
    const auto milliseconds = static_cast<std::uint64_t>((end - start) * 1000 / frequency);
    std::wstring rate = std::to_wstring(Rate(*bytes, milliseconds)) + L" bps";
    Log::Instance().Line(Log::kTrace, L"downloadRate = ", rate);
    return rate;
}

}  // namespace rigel
