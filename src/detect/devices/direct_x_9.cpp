#include "detect/devices/direct_x_9.h"

#include "os/services.h"

namespace rigel {
namespace {

DirectX_9* instance = nullptr;

// Device behaviour: hardware vertex processing, pure device, no window changes.
constexpr std::uint32_t kBehaviorFlags = 0x850;

}  // namespace

DirectX_9& DirectX_9::Instance() {
    if (instance == nullptr) instance = new DirectX_9();
    return *instance;
}

void DirectX_9::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

DirectX_9::DirectX_9()
    : Direct3DSource(*os::Current().direct3D9, {L"d3d9.dll", {"Direct3DCreate9"}},
                     {L"Unable to get all proc addresses from DirectX 9",
                      L"Error while opening DirectX 9 libraries"},
                     {L"rigel::DirectX_9::GetGpuInfo", "Direct3DCreate9", 32, kBehaviorFlags, true,
                      L"Error while getting GPU information from DirectX 9 library."}) {}

}  // namespace rigel
