#pragma once

#include <mutex>

namespace rigel {

// Held by whoever uses WMI in this process: the WMI reader for each of its reads, and the
// diagnostics tree's thread while the DirectX diagnostics provider initialises, since the
// provider queries WMI itself. Wine's WMI provider keeps its tables without locks, and two
// threads querying it at once crashed the control there.
std::mutex& WmiMutex();

}  // namespace rigel
