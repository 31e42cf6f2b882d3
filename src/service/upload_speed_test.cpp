#include "service/upload_speed_test.h"

#include <cstddef>

#include "diag/deadline.h"
#include "diag/log.h"
#include "service/network_budgets.h"
#include "service/web_service_upload.h"

namespace rigel {
namespace {

constexpr std::size_t kSmallBody = 10000;
constexpr std::size_t kLargeBody = 50000;

UploadSpeedTest::Sample Post(const std::wstring& body) {
    WebServiceUpload upload(body);
    upload.Call();
    return {static_cast<std::uint64_t>(upload.GetElapsed()), upload.GetBytesSent()};
}

}  // namespace

std::uint64_t UploadSpeedTest::FixedCost(const Sample& small, const Sample& large) {
    if (large.milliseconds <= small.milliseconds || large.bytes <= small.bytes) return 0;
    const std::uint64_t transfer =
        (large.milliseconds - small.milliseconds) * small.bytes / (large.bytes - small.bytes);
    // When the larger post is slower than its size explains, the line meets zero bytes before
    // time zero; there is no fixed cost to take out then, rather than a negative one.
    if (transfer > small.milliseconds) return 0;
    return small.milliseconds - transfer;
}

std::uint64_t UploadSpeedTest::Rate(const Sample& large, std::uint64_t fixedCost) {
    if (large.milliseconds <= fixedCost) return 0;
    return large.bytes * 8000 / (large.milliseconds - fixedCost);
}

std::wstring UploadSpeedTest::Run() {
    Log& log = Log::Instance();
    const Deadline deadline(NetworkBudgets::Built().speedTestBudget);
    log.Line(Log::kTrace, L"About to do upload speed.");
    const Sample small = Post(std::wstring(kSmallBody, L'x'));
    log.Line(Log::kTrace, L"Done upload speed.");
    if (deadline.Passed()) {
        // A link this slow gets no second post: the first one's rate, fixed cost and all, is the
        // best figure the test's time allows.
        log.Line(Log::kWarning, L"Upload test stopped at its time budget of ",
                 deadline.Milliseconds(), L" ms.");
        return std::to_wstring(Rate(small, 0)) + L" bps";
    }

    log.Line(Log::kTrace, L"About to do upload speed 2.");
    const std::wstring largeBody(kLargeBody, L'x');
    log.Line(Log::kTrace, L"do upload speed 2.");
    const Sample large = Post(largeBody);

    const std::uint64_t cost = FixedCost(small, large);
    log.Line(Log::kTrace, L"Cost is : ", cost);
    return std::to_wstring(Rate(large, cost)) + L" bps";
}

}  // namespace rigel
