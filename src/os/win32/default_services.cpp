#include "os/services.h"
#include "os/win32/win32_clock.h"
#include "os/win32/win32_debug_output.h"

namespace rigel::os {

Services DefaultServices() {
    static Win32Clock clock;
    static Win32DebugOutput debugOutput;
    return Services{&clock, &debugOutput};
}

}  // namespace rigel::os
