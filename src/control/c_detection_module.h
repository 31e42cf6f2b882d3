#pragma once

#include <windows.h>

#include <oaidl.h>

#include <atomic>
#include <string>

#include "control/logic/registration_scope.h"

namespace rigel {

// The in-process server: its module handle, its lock count (live objects plus server locks), the
// class object it serves and its registration.
class CDetectionModule {
  public:
    static CDetectionModule& Instance();

    CDetectionModule(const CDetectionModule&) = delete;
    CDetectionModule& operator=(const CDetectionModule&) = delete;

    void SetModuleHandle(HMODULE module) { module_ = module; }
    // The full path of this module's file.
    std::wstring ModulePath() const;

    void Lock() { ++locks_; }
    void Unlock() { --locks_; }
    bool CanUnload() const { return locks_ == 0; }

    // The class factory of SysInfo; CLASS_E_CLASSNOTAVAILABLE for every other class.
    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object);

    // The type description of an interface, from the type library embedded in this module.
    HRESULT LoadTypeInfo(REFGUID guid, ITypeInfo** info) const;

    // DllInstall's "user" switches every later registration of the process to the current user.
    void UsePerUserRegistration() { scope_ = RegistrationScope::kPerUser; }
    HRESULT Register();
    HRESULT Unregister();
    HRESULT Install(bool install);

  private:
    CDetectionModule() = default;

    // Runs a registration operation on the real registry with the locale registration needs.
    template <typename Operation>
    HRESULT Registering(Operation operation) const;

    HMODULE module_ = nullptr;
    std::atomic<long> locks_{0};
    RegistrationScope scope_ = RegistrationScope::kMachine;
};

}  // namespace rigel
