#include "detect/devices/graphics.h"

namespace rigel {

Graphics::Graphics() : Detector(nullptr, L"Error in Graphics detection.") {}

void Graphics::Run() {}

}  // namespace rigel
