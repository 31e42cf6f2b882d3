#include "detect/devices/dxgi.h"

namespace rigel {
namespace {

DXGI* instance = nullptr;

}  // namespace

DXGI& DXGI::Instance() {
    if (instance == nullptr) instance = new DXGI();
    return *instance;
}

void DXGI::DestroyInstanceForTesting() {
    delete instance;
    instance = nullptr;
}

DXGI::DXGI()
    : DxgiSource(
          Api::kDxgi, {{L"dxgi.dll", {"CreateDXGIFactory"}}},
          {L"Unable to get all proc addresses from DXGI", L"Error while opening DXGI library"}) {}

}  // namespace rigel
