#include "detect/devices/gpu.h"

namespace rigel {

GPU::GPU() : Detector(nullptr, L"Error in GPU::Detect") {}

void GPU::Run() {}

}  // namespace rigel
