#include "service/network_device.h"

namespace rigel {

NetworkDevice::NetworkDevice() : Detector(nullptr, L"Error in NetworkDevice detection.") {}

void NetworkDevice::Run() {}

}  // namespace rigel
