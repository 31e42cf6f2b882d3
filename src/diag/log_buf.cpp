#include "diag/log_buf.h"

#include "os/debug_output.h"
#include "os/services.h"

namespace rigel {

int LogBuf::sync() {
    const std::wstring pending = str();
    if (!pending.empty()) {
        str(std::wstring());
        os::Current().debugOutput->Write(pending);
    }
    return 0;
}

}  // namespace rigel
