#include "detect/devices/direct_x_11.h"

namespace rigel {
namespace {

DirectX_11* instance = nullptr;

}  // namespace

DirectX_11& DirectX_11::Instance() {
    if (instance == nullptr) instance = new DirectX_11();
    return *instance;
}

void DirectX_11::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

DirectX_11::DirectX_11()
    : DxgiSource(Api::kDirect3D11,
                 {{L"d3d11.dll", {"D3D11CreateDevice"}}, {L"dxgi.dll", {"CreateDXGIFactory1"}}},
                 {L"Unable to get all proc addresses from DirectX 11",
                  L"Error while opening DirectX 11 libraries"}) {}

}  // namespace rigel
