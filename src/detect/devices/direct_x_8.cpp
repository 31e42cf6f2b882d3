#include "detect/devices/direct_x_8.h"

#include "os/services.h"

namespace rigel {
namespace {

DirectX_8* instance = nullptr;

// Device behaviour: hardware vertex processing, pure device.
constexpr std::uint32_t kBehaviorFlags = 0x50;

}  // namespace

DirectX_8& DirectX_8::Instance() {
    if (instance == nullptr) instance = new DirectX_8();
    return *instance;
}

void DirectX_8::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

DirectX_8::DirectX_8()
    : Direct3DSource(*os::Current().direct3D8, {L"d3d8.dll", {"Direct3DCreate8"}},
                     {L"Unable to get all proc addresses from DirectX 8",
                      L"Error while opening DirectX 8 libraries"},
                     {L"rigel::DirectX_8::GetGpuInfo", "Direct3DCreate8", 220, kBehaviorFlags,
                      false, L"Error while getting GPU information from DirectX 8 library."}) {}

}  // namespace rigel
