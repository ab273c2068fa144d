// The simulated panel as a COM driver: the library's exports, and what its objects are made of.

#include "IORVOBusiness_h.h"
#include "com/Automation.h"
#include "com/ClassFactory.h"
#include "com/DriverExport.h"
#include "com/ModuleCount.h"
#include "com/ModuleRuntime.h"
#include "com/ThreadHome.h"
#include "registration.h"
#include "simulated/SimulatedPanel.h"

namespace {

using orvo::com::ComPtr;
using orvo::com::RegisteredClass;

CLSID PanelClass() {
  CLSID id{};
  CLSIDFromString(ORVO_PANEL_CLASS, &id);
  return id;
}

const CLSID PanelClassId = PanelClass();
const RegisteredClass Classes[] = {
    {PanelClassId, L"Simulated operator panel", L"SimulatedPanel.Channel", L"SimulatedPanel.Channel.1"},
};

ComPtr<IUnknown> NewPanel() {
  const std::shared_ptr<orvo::com::ThreadHome> home = orvo::com::ThreadHome::Current();
  auto panel = orvo::SimulatedPanel::Make({home->Platform(), home->FileSystem()});
  auto* driver = new orvo::com::DriverExport(std::move(panel), orvo::SimulatedPanel::ProgId);
  return ComPtr<IUnknown>(static_cast<::ICommunicationDriver*>(driver));
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) orvo::com::EndRuntimeWithModule();
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID id, REFIID iid, LPVOID* result) {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  if (id != PanelClassId) return CLASS_E_CLASSNOTAVAILABLE;
  try {
    const ComPtr<orvo::com::ClassFactory> factory(new orvo::com::ClassFactory(NewPanel));
    return factory->QueryInterface(iid, result);
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}

STDAPI DllCanUnloadNow() {
  return orvo::com::ModuleCount::Value() == 0 ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() {
  return orvo::com::Register(orvo::com::Registration::Machine, Classes, LIBID_IORVOBusiness);
}

STDAPI DllUnregisterServer() {
  return orvo::com::Unregister(orvo::com::Registration::Machine, Classes, LIBID_IORVOBusiness);
}

STDAPI DllInstall(BOOL install, LPCWSTR commandLine) {
  return orvo::com::InstallModule(install != FALSE, commandLine, Classes, LIBID_IORVOBusiness);
}
