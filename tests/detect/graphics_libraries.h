#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/fake_machine.h"

namespace rigel::test {

// The graphics system libraries with their exports, less the libraries or the export a test
// removes. The fakes only check that an address was resolved, so every export is one no-op.
inline void InstallGraphicsLibraries(FakeMachine& machine,
                                     const std::set<std::wstring>& removedLibraries,
                                     const std::string& removedExport = "") {
    static void (*const noOp)() = [] {};
    const std::map<std::wstring, std::vector<std::string>> libraries = {
        {L"d3d8.dll", {"Direct3DCreate8"}},
        {L"d3d9.dll", {"Direct3DCreate9"}},
        {L"dxgi.dll", {"CreateDXGIFactory", "CreateDXGIFactory1"}},
        {L"d3d10.dll",
         {"D3D10CreateDevice", "D3D10GetPixelShaderProfile", "D3D10GetVertexShaderProfile"}},
        {L"d3d11.dll", {"D3D11CreateDevice"}},
    };
    for (const auto& [name, exports] : libraries) {
        if (removedLibraries.count(name) != 0) continue;
        std::map<std::string, os::ExportAddress> table;
        for (const std::string& entry : exports) {
            if (entry != removedExport) table[entry] = noOp;
        }
        machine.libraries.AddLibrary(name, table);
    }
}

inline void InstallGraphicsLibraries(FakeMachine& machine, const std::wstring& removedLibrary = L"",
                                     const std::string& removedExport = "") {
    InstallGraphicsLibraries(machine, std::set<std::wstring>{removedLibrary}, removedExport);
}

}  // namespace rigel::test
