// The library that clients load: its exports, and what its objects are made of.

#include "ORVOBusiness_h.h"
#include "com/ClassFactory.h"
#include "com/ComError.h"
#include "com/DriverImport.h"
#include "com/KELDataServerFacade.h"
#include "com/ModuleCount.h"
#include "com/ModuleRuntime.h"
#include "com/ThreadHome.h"
#include "registration.h"
#include "simulated/SimulatedPanel.h"

#include <windows.h>

namespace {

using orvo::com::RegisteredClass;

constexpr wchar_t Description[] = L"ORVOBusiness data server";

const RegisteredClass Classes[] = {
    {CLSID_KELDataServer, Description, L"ORVOBusiness.KELDataServer", L"ORVOBusiness.KELDataServer.1"},
};

// Own drivers first; every other identifier is a COM class.
void AddDrivers(orvo::DriverRegistry& drivers) {
  orvo::RegisterSimulatedPanel(drivers);
  drivers.SetFallback(orvo::com::CreateComDriver);
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_ATTACH) {
    orvo::com::ThreadHome::Setup setup;
    setup.drivers = AddDrivers;
    orvo::com::ThreadHome::Configure(std::move(setup));
  }
  if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) orvo::com::EndRuntimeWithModule();
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID id, REFIID iid, LPVOID* result) {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  if (id != CLSID_KELDataServer) return CLASS_E_CLASSNOTAVAILABLE;
  try {
    using orvo::com::ClassFactory;
    const orvo::com::ComPtr<ClassFactory> factory(new ClassFactory(orvo::com::KELDataServerFacade::New));
    return factory->QueryInterface(iid, result);
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}

STDAPI DllCanUnloadNow() {
  return orvo::com::ModuleCount::Value() == 0 && orvo::AutomationObject::LiveCount() == 0 ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() {
  return orvo::com::Register(orvo::com::Registration::Machine, Classes, LIBID_ORVOBusiness);
}

STDAPI DllUnregisterServer() {
  return orvo::com::Unregister(orvo::com::Registration::Machine, Classes, LIBID_ORVOBusiness);
}

STDAPI DllInstall(BOOL install, LPCWSTR commandLine) {
  return orvo::com::InstallModule(install != FALSE, commandLine, Classes, LIBID_ORVOBusiness);
}
