// The exports of the in-process server.

#include <windows.h>

#include <objbase.h>
#include <olectl.h>

#include "control/c_detection_module.h"
#include "control/logic/install_command.h"

extern "C" HRESULT STDAPICALLTYPE DllInstall(BOOL install, LPCWSTR commandLine);

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        rigel::CDetectionModule::Instance().SetModuleHandle(instance);
        DisableThreadLibraryCalls(instance);
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* object) {
    return rigel::CDetectionModule::Instance().GetClassObject(clsid, iid, object);
}

STDAPI DllCanUnloadNow() {
    return rigel::CDetectionModule::Instance().CanUnload() ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() { return rigel::CDetectionModule::Instance().Register(); }

STDAPI DllUnregisterServer() { return rigel::CDetectionModule::Instance().Unregister(); }

STDAPI DllInstall(BOOL install, LPCWSTR commandLine) {
    rigel::CDetectionModule& module = rigel::CDetectionModule::Instance();
    if (rigel::IsPerUserCommand(commandLine)) module.UsePerUserRegistration();
    return module.Install(install != FALSE);
}
