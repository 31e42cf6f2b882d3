#include "os/services.h"
#include "os/win32/win32_clock.h"
#include "os/win32/win32_debug_output.h"
#include "os/win32/win32_http.h"

namespace rigel::os {

Services DefaultServices() {
    static Win32Clock clock;
    static Win32DebugOutput debugOutput;
    static Win32Http http;
    return Services{&clock, &debugOutput, &http};
}

}  // namespace rigel::os
