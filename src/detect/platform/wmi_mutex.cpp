#include "detect/platform/wmi_mutex.h"

namespace rigel {

std::mutex& WmiMutex() {
    static std::mutex mutex;
    return mutex;
}

}  // namespace rigel
