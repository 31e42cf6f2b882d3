// Outside Windows there is no machine to read: the product runs on a fake clock there, its
// debugger output goes nowhere and every HTTP request is answered with an empty 200 response.
// Tests install their own fakes.
#include "os/debug_output.h"
#include "os/fake/fake_clock.h"
#include "os/fake/fake_http.h"
#include "os/services.h"

namespace rigel::os {
namespace {

class DiscardingDebugOutput : public DebugOutput {
  public:
    void Write(const std::wstring&) override {}
};

}  // namespace

Services DefaultServices() {
    static FakeClock clock;
    static DiscardingDebugOutput debugOutput;
    static FakeHttp http;
    return Services{&clock, &debugOutput, &http};
}

}  // namespace rigel::os
