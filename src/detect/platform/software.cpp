#include "detect/platform/software.h"

namespace rigel {

Software::Software() : Detector(nullptr, L"Error in Software detection.") {}

void Software::Run() {}

}  // namespace rigel
