#include "control/c_detection_module.h"

#include <oleauto.h>
#include <oleidl.h>
#include <wrl/client.h>

#include <cstdint>
#include <new>
#include <vector>

#include "control/c_class_factory.h"
#include "control/logic/ole_misc.h"
#include "control/logic/server_registration.h"
#include "control/thread_locale_scope.h"
#include "control/win32_registry_writer.h"
#include "control/win32_type_lib_registrar.h"
#include "detection.h"

namespace rigel {

// The registration script mirrors these published values.
static_assert(kOleMiscRecomposeOnResize == static_cast<std::uint32_t>(OLEMISC_RECOMPOSEONRESIZE));
static_assert(kOleMiscCantLinkInside == static_cast<std::uint32_t>(OLEMISC_CANTLINKINSIDE));
static_assert(kOleMiscInsideOut == static_cast<std::uint32_t>(OLEMISC_INSIDEOUT));
static_assert(kOleMiscInvisibleAtRuntime == static_cast<std::uint32_t>(OLEMISC_INVISIBLEATRUNTIME));
static_assert(kOleMiscSetClientSiteFirst == static_cast<std::uint32_t>(OLEMISC_SETCLIENTSITEFIRST));

CDetectionModule& CDetectionModule::Instance() {
    static CDetectionModule module;
    return module;
}

std::wstring CDetectionModule::ModulePath() const {
    std::vector<wchar_t> buffer(MAX_PATH);
    for (;;) {
        const DWORD length =
            GetModuleFileNameW(module_, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0) return std::wstring();
        if (length < buffer.size()) return std::wstring(buffer.data(), length);
        buffer.resize(buffer.size() * 2);
    }
}

HRESULT CDetectionModule::GetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (clsid != CLSID_SysInfo) return CLASS_E_CLASSNOTAVAILABLE;
    // Created on the first request and kept until the module unloads.
    static CClassFactory factory;
    return factory.QueryInterface(iid, object);
}

HRESULT CDetectionModule::LoadTypeInfo(REFGUID guid, ITypeInfo** info) const {
    try {
        Microsoft::WRL::ComPtr<ITypeLib> library;
        const HRESULT result = LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, &library);
        if (FAILED(result)) return result;
        return library->GetTypeInfoOfGuid(guid, info);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

template <typename Operation>
HRESULT CDetectionModule::Registering(Operation operation) const {
    try {
        // Registry texts and the type library's registration must not depend on the caller's
        // locale.
        ThreadLocaleScope locale(LOCALE_SYSTEM_DEFAULT);
        const std::wstring modulePath = ModulePath();
        Win32RegistryWriter registry;
        Win32TypeLibRegistrar typeLib(modulePath);
        ServerRegistration registration(registry, typeLib, modulePath);
        return operation(registration);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT CDetectionModule::Register() {
    return Registering(
        [this](ServerRegistration& registration) { return registration.Register(scope_); });
}

HRESULT CDetectionModule::Unregister() {
    return Registering(
        [this](ServerRegistration& registration) { return registration.Unregister(scope_); });
}

HRESULT CDetectionModule::Install(bool install) {
    return Registering([this, install](ServerRegistration& registration) {
        return registration.Install(install, scope_);
    });
}

}  // namespace rigel
