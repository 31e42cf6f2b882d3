#include "control/c_class_factory.h"

#include "control/c_detection_module.h"
#include "control/c_sys_info.h"

namespace rigel {

STDMETHODIMP CClassFactory::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IClassFactory) {
        *object = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
}

STDMETHODIMP_(ULONG) CClassFactory::AddRef() {
    CDetectionModule::Instance().Lock();
    return ++references_;
}

STDMETHODIMP_(ULONG) CClassFactory::Release() {
    CDetectionModule::Instance().Unlock();
    return --references_;
}

STDMETHODIMP CClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
    return CSysInfo::Create(outer, iid, object);
}

STDMETHODIMP CClassFactory::LockServer(BOOL lock) {
    if (lock) {
        CDetectionModule::Instance().Lock();
    } else {
        CDetectionModule::Instance().Unlock();
    }
    return S_OK;
}

}  // namespace rigel
