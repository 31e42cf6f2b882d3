#include "detect/devices/direct_x.h"

namespace rigel {

DirectX::DirectX() : Detector(nullptr, L"Error in DirectX detection.") {}

void DirectX::Run() {}

}  // namespace rigel
