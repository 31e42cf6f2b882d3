#include "control/win32_type_lib_registrar.h"

#include <windows.h>

#include <oleauto.h>
#include <wrl/client.h>

#include <utility>

#include "control/library_closer.h"

namespace rigel {
namespace {

using Microsoft::WRL::ComPtr;

using RegisterForUser = HRESULT(WINAPI*)(ITypeLib*, OLECHAR*, OLECHAR*);
using UnregisterForUser = HRESULT(WINAPI*)(REFGUID, WORD, WORD, LCID, SYSKIND);

// The per-user functions exist only from Windows Vista on, so they are looked up at run time.
template <typename Function>
Function PerUserFunction(const UniqueLibrary& oleaut32, const char* name) {
    if (!oleaut32) return nullptr;
    const FARPROC found = GetProcAddress(oleaut32.get(), name);
    // Through the generic function type, which converts to any other without a warning.
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(found));
}

// Frees the attributes that ITypeLib::GetLibAttr handed out.
class LibAttributes {
  public:
    explicit LibAttributes(ITypeLib& library) : library_(library) {}
    ~LibAttributes() {
        if (attributes_ != nullptr) library_.ReleaseTLibAttr(attributes_);
    }
    LibAttributes(const LibAttributes&) = delete;
    LibAttributes& operator=(const LibAttributes&) = delete;

    HRESULT Load() { return library_.GetLibAttr(&attributes_); }
    const TLIBATTR& operator*() const { return *attributes_; }

  private:
    ITypeLib& library_;
    TLIBATTR* attributes_ = nullptr;
};

}  // namespace

Win32TypeLibRegistrar::Win32TypeLibRegistrar(std::wstring modulePath)
    : modulePath_(std::move(modulePath)) {}

std::int32_t Win32TypeLibRegistrar::Register(RegistrationScope scope) {
    ComPtr<ITypeLib> library;
    HRESULT result = LoadTypeLibEx(modulePath_.c_str(), REGKIND_NONE, &library);
    if (FAILED(result)) return result;

    // The registration functions take the path as a writable string.
    std::wstring path = modulePath_;
    if (scope == RegistrationScope::kPerUser) {
        const UniqueLibrary oleaut32(LoadLibraryW(L"oleaut32.dll"), LibraryCloser{});
        if (const auto registerForUser =
                PerUserFunction<RegisterForUser>(oleaut32, "RegisterTypeLibForUser")) {
            return registerForUser(library.Get(), path.data(), nullptr);
        }
    }
    return RegisterTypeLib(library.Get(), path.data(), nullptr);
}

std::int32_t Win32TypeLibRegistrar::Unregister(RegistrationScope scope) {
    ComPtr<ITypeLib> library;
    HRESULT result = LoadTypeLibEx(modulePath_.c_str(), REGKIND_NONE, &library);
    if (FAILED(result)) return result;
    LibAttributes attributes(*library.Get());
    result = attributes.Load();
    if (FAILED(result)) return result;

    const TLIBATTR& lib = *attributes;
    if (scope == RegistrationScope::kPerUser) {
        const UniqueLibrary oleaut32(LoadLibraryW(L"oleaut32.dll"), LibraryCloser{});
        if (const auto unregisterForUser =
                PerUserFunction<UnregisterForUser>(oleaut32, "UnRegisterTypeLibForUser")) {
            return unregisterForUser(lib.guid, lib.wMajorVerNum, lib.wMinorVerNum, lib.lcid,
                                     lib.syskind);
        }
    }
    return UnRegisterTypeLib(lib.guid, lib.wMajorVerNum, lib.wMinorVerNum, lib.lcid, lib.syskind);
}

}  // namespace rigel
