// Registration of a module's classes and type library, for the machine or for the user.
//
// One table per module says what is registered; unregistering removes exactly that. The functions return after
// the first failure with everything that they had written removed again.
#pragma once

#include "com/Automation.h"

#include <span>

namespace orvo::com {

struct RegisteredClass {
  const CLSID& id;
  const wchar_t* description;
  const wchar_t* progId;           // version-independent
  const wchar_t* versionedProgId;  // with its version number
};

enum class Registration { Machine, User };

// `library` is the identifier of the type library that the module carries as resource 1.
HRESULT Register(Registration where, std::span<const RegisteredClass> classes, REFGUID library);
// What is not there any more is no failure; what another copy of the module has registered stays.
HRESULT Unregister(Registration where, std::span<const RegisteredClass> classes, REFGUID library);

// The exports of a module with this table. DllInstall takes the command line of regsvr32 /i: "user" registers
// for the user.
HRESULT InstallModule(bool install, const wchar_t* commandLine, std::span<const RegisteredClass> classes,
                      REFGUID library);

}  // namespace orvo::com
