#include "Activation.h"

#include "HostError.h"

#include <filesystem>

namespace orvo::testing {

namespace {

// Stays loaded for good: registered classes may be made of it.
FARPROC EntryOf(const std::wstring& library, const char* entry) {
  const HMODULE loaded = LoadLibraryExW(library.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (loaded == nullptr)
    throw HostError(HRESULT_FROM_WIN32(GetLastError()), L"'" + library + L"' cannot be loaded");
  const FARPROC address = GetProcAddress(loaded, entry);
  if (address == nullptr)
    throw HostError(TYPE_E_DLLFUNCTIONNOTFOUND, L"'" + library + L"' cannot register itself");
  return address;
}

}  // namespace

std::wstring FullPath(const std::wstring& file) {
  return std::filesystem::absolute(file).make_preferred().wstring();
}

ActivationContext::ActivationContext(const std::wstring& manifest) {
  const std::wstring path = FullPath(manifest);
  const std::wstring folder = std::filesystem::path(path).parent_path().wstring();
  ACTCTXW description{};
  description.cbSize = sizeof description;
  description.dwFlags = ACTCTX_FLAG_ASSEMBLY_DIRECTORY_VALID;
  description.lpSource = path.c_str();
  description.lpAssemblyDirectory = folder.c_str();
  context_ = CreateActCtxW(&description);
  if (context_ == INVALID_HANDLE_VALUE)
    throw HostError(HRESULT_FROM_WIN32(GetLastError()), L"'" + path + L"' is no manifest that can be used");
  if (!ActivateActCtx(context_, &cookie_)) {
    const HRESULT failure = HRESULT_FROM_WIN32(GetLastError());
    ReleaseActCtx(context_);
    throw HostError(failure, L"'" + path + L"' cannot be activated");
  }
}

ActivationContext::~ActivationContext() {
  DeactivateActCtx(0, cookie_);
  ReleaseActCtx(context_);
}

void RegisterLibrary(const std::wstring& library) {
  const std::wstring path = FullPath(library);
  const auto entry = reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)()>(
      reinterpret_cast<void*>(EntryOf(path, "DllRegisterServer")));
  Require(entry(), L"'" + path + L"' cannot be registered");
}

void RegisterComponent(const std::wstring& component) {
  const std::wstring path = FullPath(component);
  const auto entry = reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)(BOOL, LPCWSTR)>(
      reinterpret_cast<void*>(EntryOf(L"scrobj.dll", "DllInstall")));
  Require(entry(TRUE, path.c_str()), L"the script component '" + path + L"' cannot be registered");
}

}  // namespace orvo::testing
