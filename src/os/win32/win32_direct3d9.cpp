#include <d3d9.h>

#include "os/win32/win32_direct3d.h"

namespace rigel::os {
namespace {

struct Direct3D9Types {
    using Object = IDirect3D9;
    using Device = IDirect3DDevice9;
    using Identifier = D3DADAPTER_IDENTIFIER9;
    using Caps = D3DCAPS9;
    using Present = D3DPRESENT_PARAMETERS;
    using DeviceType = D3DDEVTYPE;
    using SwapEffect = D3DSWAPEFFECT;
};

}  // namespace

std::unique_ptr<Direct3D> MakeWin32Direct3D9() {
    return std::make_unique<Win32Direct3D<Direct3D9Types>>();
}

}  // namespace rigel::os
