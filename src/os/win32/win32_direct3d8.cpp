#include <d3d8.h>

#include "os/win32/win32_direct3d.h"

namespace rigel::os {
namespace {

struct Direct3D8Types {
    using Object = IDirect3D8;
    using Device = IDirect3DDevice8;
    using Identifier = D3DADAPTER_IDENTIFIER8;
    using Caps = D3DCAPS8;
    using Present = D3DPRESENT_PARAMETERS;
    using DeviceType = D3DDEVTYPE;
    using SwapEffect = D3DSWAPEFFECT;
};

}  // namespace

std::unique_ptr<Direct3D> MakeWin32Direct3D8() {
    return std::make_unique<Win32Direct3D<Direct3D8Types>>();
}

}  // namespace rigel::os
