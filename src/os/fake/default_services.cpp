// Outside Windows there is no machine to read: the product runs on fakes there, which the tests
// replace with their own.
#include "os/fake/fake_clock.h"
#include "os/fake/fake_debug_output.h"
#include "os/services.h"

namespace rigel::os {

Services DefaultServices() {
    static FakeClock clock;
    static FakeDebugOutput debugOutput;
    return Services{&clock, &debugOutput};
}

}  // namespace rigel::os
