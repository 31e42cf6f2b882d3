#include "detect/devices/direct_x_10.h"

namespace rigel {
namespace {

DirectX_10* instance = nullptr;

}  // namespace

DirectX_10& DirectX_10::Instance() {
    if (instance == nullptr) instance = new DirectX_10();
    return *instance;
}

void DirectX_10::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

DirectX_10::DirectX_10()
    : DxgiSource(
          Api::kDirect3D10,
          {{L"d3d10.dll",
            {"D3D10CreateDevice", "D3D10GetPixelShaderProfile", "D3D10GetVertexShaderProfile"}},
           {L"dxgi.dll", {"CreateDXGIFactory"}}},
          {L"Unable to get all proc addresses from DirectX 10",
           L"Error while opening DirectX 10 libraries"}) {}

}  // namespace rigel
