#include "com/DriverImport.h"

#include "com/Bstr.h"
#include "com/ComError.h"
#include "com/DispatchDriver.h"
#include "com/FacadeIdentity.h"
#include "com/SlotDriver.h"

#include <objbase.h>

namespace orvo::com {

namespace {

constexpr std::int32_t NoSuchMember = 438;

// Error 429 with the reason that `result` stands for.
[[noreturn]] void RaiseNotCreated(const std::string& progId, HRESULT result) {
  try {
    RaiseForeign(result);
  } catch (const AutomationError& reason) {
    RaiseRuntimeError(RuntimeError::CannotCreateObject, progId + ": " + reason.Description());
  }
}

}  // namespace

std::shared_ptr<CommunicationDriver> ImportDriver(const ComPtr<IUnknown>& object) {
  if (!object) return nullptr;
  // The system's own objects are no drivers; one of them as the driver of its own spooler would never end.
  if (OwnObject(object.Get())) RaiseRuntimeError(RuntimeError::TypeMismatch, "the object is no driver");
  if (auto driver = object.Query<::ICommunicationDriver>())
    return std::make_shared<SlotDriver>(std::move(driver));
  if (auto driver = object.Query<IDispatch>()) return std::make_shared<DispatchDriver>(std::move(driver));
  throw AutomationError(NoSuchMember,
                        "Object doesn't support this property or method: it offers neither the driver "
                        "interface nor dispatch");
}

std::shared_ptr<CommunicationDriver> CreateComDriver(const std::string& progId, DriverHost) {
  const std::wstring name = WideOf(progId);
  // The system would read the identifier up to the first zero character, and so find another class.
  if (name.empty() || name.find(L'\0') != std::wstring::npos) return nullptr;
  CLSID classId{};
  const HRESULT found = CLSIDFromProgID(name.c_str(), &classId);
  if (found == CO_E_CLASSSTRING || found == REGDB_E_CLASSNOTREG) return nullptr;
  SetErrorInfo(0, nullptr);
  if (FAILED(found)) RaiseNotCreated(progId, found);
  ComPtr<IUnknown> object;
  // In this process only: the sink is no automation interface and is called on the owner's thread.
  const HRESULT created =
      CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, object.PutVoid());
  if (FAILED(created)) RaiseNotCreated(progId, created);
  return ImportDriver(object);
}

}  // namespace orvo::com
