#pragma once

#include <windows.h>

#include <unknwn.h>

#include <atomic>

namespace rigel {

// The class object of SysInfo. The module keeps one for the whole process; every outside
// reference to it keeps the module loaded.
class CClassFactory final : public IClassFactory {
  public:
    CClassFactory() = default;
    CClassFactory(const CClassFactory&) = delete;
    CClassFactory& operator=(const CClassFactory&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
    STDMETHODIMP LockServer(BOOL lock) override;

  private:
    std::atomic<ULONG> references_{0};
};

}  // namespace rigel
