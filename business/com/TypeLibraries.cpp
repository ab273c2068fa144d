#include "com/TypeLibraries.h"

#include "com/Automation.h"
#include "com/ComError.h"

#include <cstring>

namespace orvo::com {

std::wstring ModulePath() {
  HMODULE module = nullptr;
  static const int here = 0;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&here), &module);
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

TypeLibraries::TypeLibraries() {
  const std::wstring path = ModulePath();
  for (int number = 1;; ++number) {
    ComPtr<ITypeLib> library;
    const HRESULT result =
        LoadTypeLibEx((path + L"\\" + std::to_wstring(number)).c_str(), REGKIND_NONE, library.Put());
    if (FAILED(result)) {
      if (number == 1) RaiseResult(result, "the type library inside this module cannot be loaded");
      return;
    }
    libraries_.push_back(std::move(library));
  }
}

ComPtr<ITypeInfo> TypeLibraries::Type(REFGUID id) const {
  ComPtr<ITypeInfo> info;
  for (const ComPtr<ITypeLib>& library : libraries_)
    if (SUCCEEDED(library->GetTypeInfoOfGuid(id, info.Put()))) return info;
  RaiseResult(TYPE_E_ELEMENTNOTFOUND, "a type is missing in the type library");
}

const InterfaceInfo& TypeLibraries::Interface(REFIID id) {
  std::unique_ptr<InterfaceInfo>& info = interfaces_[id];
  if (!info) info = std::make_unique<InterfaceInfo>(Type(id));
  return *info;
}

bool TypeLibraries::Less::operator()(const GUID& a, const GUID& b) const noexcept {
  return std::memcmp(&a, &b, sizeof(GUID)) < 0;
}

}  // namespace orvo::com
