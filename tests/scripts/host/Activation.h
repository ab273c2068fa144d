// The ways in which a script's CreateObject finds our library.
#pragma once

#include <ole2.h>

#include <string>

namespace orvo::testing {

// Classes of a registration-free manifest, known to this thread for as long as this lives. Throws HostError
// when the file is not there or no manifest.
class ActivationContext {
 public:
  explicit ActivationContext(const std::wstring& manifest);
  ActivationContext(const ActivationContext&) = delete;
  ActivationContext& operator=(const ActivationContext&) = delete;
  ~ActivationContext();

 private:
  HANDLE context_ = INVALID_HANDLE_VALUE;
  ULONG_PTR cookie_ = 0;
};

// Registers the library's classes for the machine, as regsvr32 does.
void RegisterLibrary(const std::wstring& library);

// Registers a script component (.wsc), as regsvr32 /i does with the library of the components.
void RegisterComponent(const std::wstring& component);

// The whole path of a file.
std::wstring FullPath(const std::wstring& file);

}  // namespace orvo::testing
