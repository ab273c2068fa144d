#include "registration.h"

#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/TypeLibraries.h"

#include <oleauto.h>

#include <cwchar>
#include <string>

namespace orvo::com {

namespace {

constexpr WORD LibraryMajor = 1;
constexpr WORD LibraryMinor = 0;

HKEY RootOf(Registration where) {
  return where == Registration::User ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
}

std::wstring ClassesPath(const std::wstring& key) {
  return L"Software\\Classes\\" + key;
}

std::wstring TextOfId(REFGUID id) {
  wchar_t text[40];
  StringFromGUID2(id, text, 40);
  return text;
}

HRESULT Write(HKEY root, const std::wstring& key, const wchar_t* name, const std::wstring& value) {
  const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
  return HRESULT_FROM_WIN32(static_cast<unsigned long>(
      RegSetKeyValueW(root, ClassesPath(key).c_str(), name, REG_SZ, value.c_str(), bytes)));
}

HRESULT Delete(HKEY root, const std::wstring& key) {
  const LSTATUS deleted = RegDeleteTreeW(root, ClassesPath(key).c_str());
  if (deleted == ERROR_FILE_NOT_FOUND || deleted == ERROR_PATH_NOT_FOUND) return S_OK;
  if (deleted != ERROR_SUCCESS) return HRESULT_FROM_WIN32(static_cast<unsigned long>(deleted));
  // RegDeleteTree takes the key itself along only on some systems.
  RegDeleteKeyW(root, ClassesPath(key).c_str());
  return S_OK;
}

// The key's default value, or nothing.
std::wstring Read(HKEY root, const std::wstring& key) {
  wchar_t text[MAX_PATH] = {};
  DWORD bytes = sizeof text;
  if (RegGetValueW(root, ClassesPath(key).c_str(), nullptr, RRF_RT_REG_SZ, nullptr, text, &bytes) !=
      ERROR_SUCCESS)
    return {};
  return text;
}

HRESULT WriteClass(HKEY root, const RegisteredClass& row, const std::wstring& library) {
  const std::wstring id = TextOfId(row.id);
  const std::wstring key = L"CLSID\\" + id;
  const std::wstring server = key + L"\\InprocServer32";
  struct Line {
    std::wstring key;
    const wchar_t* name;
    std::wstring value;
  };
  const Line lines[] = {
      {key, nullptr, row.description},
      {server, nullptr, ModulePath()},
      {server, L"ThreadingModel", L"Apartment"},
      {key + L"\\ProgID", nullptr, row.versionedProgId},
      {key + L"\\VersionIndependentProgID", nullptr, row.progId},
      {key + L"\\TypeLib", nullptr, library},
      {key + L"\\Version", nullptr, L"1.0"},
      {key + L"\\Programmable", nullptr, L""},
      {row.progId, nullptr, row.description},
      {row.progId + std::wstring(L"\\CLSID"), nullptr, id},
      {row.progId + std::wstring(L"\\CurVer"), nullptr, row.versionedProgId},
      {row.versionedProgId, nullptr, row.description},
      {row.versionedProgId + std::wstring(L"\\CLSID"), nullptr, id},
  };
  for (const Line& line : lines) {
    const HRESULT failed = Write(root, line.key, line.name, line.value);
    if (FAILED(failed)) return failed;
  }
  return S_OK;
}

// Whether the class is registered for another copy of this module.
bool BelongsToAnotherCopy(HKEY root, const RegisteredClass& row) {
  const std::wstring server = Read(root, L"CLSID\\" + TextOfId(row.id) + L"\\InprocServer32");
  return !server.empty() && _wcsicmp(server.c_str(), ModulePath().c_str()) != 0;
}

HRESULT DeleteClass(HKEY root, const RegisteredClass& row) {
  if (BelongsToAnotherCopy(root, row)) return S_OK;
  const std::wstring id = TextOfId(row.id);
  HRESULT outcome = S_OK;
  const auto note = [&](HRESULT result) {
    if (FAILED(result) && SUCCEEDED(outcome)) outcome = result;
  };
  // An identifier that another installation has taken over is its own.
  for (const wchar_t* progId : {row.progId, row.versionedProgId})
    if (Read(root, progId + std::wstring(L"\\CLSID")) == id) note(Delete(root, progId));
  note(Delete(root, L"CLSID\\" + id));
  return outcome;
}

// The per-user functions came with Windows Vista and are not in every import library.
template <class Function>
Function AutomationFunction(const char* name) {
  const HMODULE module = GetModuleHandleW(L"oleaut32.dll");
  return module == nullptr ? nullptr
                           : reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

HRESULT RegisterLibrary(Registration where) {
  std::wstring path = ModulePath();
  ComPtr<ITypeLib> library;
  const HRESULT loaded = LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.Put());
  if (FAILED(loaded)) return loaded;
  if (where == Registration::Machine) return RegisterTypeLib(library.Get(), path.data(), nullptr);
  using RegisterForUser = HRESULT(STDAPICALLTYPE*)(ITypeLib*, OLECHAR*, OLECHAR*);
  const auto registerForUser = AutomationFunction<RegisterForUser>("RegisterTypeLibForUser");
  return registerForUser == nullptr ? E_NOTIMPL : registerForUser(library.Get(), path.data(), nullptr);
}

HRESULT UnregisterLibrary(Registration where, REFGUID library) {
#ifdef _WIN64
  constexpr SYSKIND System = SYS_WIN64;
#else
  constexpr SYSKIND System = SYS_WIN32;
#endif
  // Where there is nothing, each system fails in its own way.
  Bstr path;
  if (FAILED(QueryPathOfRegTypeLib(library, LibraryMajor, LibraryMinor, LOCALE_NEUTRAL, path.Put())))
    return S_OK;
  HRESULT result = E_NOTIMPL;
  if (where == Registration::Machine) {
    result = UnRegisterTypeLib(library, LibraryMajor, LibraryMinor, LOCALE_NEUTRAL, System);
  } else {
    using UnregisterForUser = HRESULT(STDAPICALLTYPE*)(REFGUID, WORD, WORD, LCID, SYSKIND);
    const auto unregisterForUser = AutomationFunction<UnregisterForUser>("UnRegisterTypeLibForUser");
    if (unregisterForUser != nullptr)
      result = unregisterForUser(library, LibraryMajor, LibraryMinor, LOCALE_NEUTRAL, System);
  }
  const bool wasNotThere =
      result == TYPE_E_REGISTRYACCESS || result == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
  return wasNotThere ? S_OK : result;
}

}  // namespace

HRESULT Register(Registration where, std::span<const RegisteredClass> classes, REFGUID library) try {
  HRESULT outcome = RegisterLibrary(where);
  for (const RegisteredClass& row : classes)
    if (SUCCEEDED(outcome)) outcome = WriteClass(RootOf(where), row, TextOfId(library));
  if (FAILED(outcome)) Unregister(where, classes, library);
  return outcome;
} catch (...) {
  return E_OUTOFMEMORY;
}

HRESULT Unregister(Registration where, std::span<const RegisteredClass> classes, REFGUID library) try {
  // The type library is every copy's; it stays while another one needs it.
  bool isShared = false;
  HRESULT outcome = S_OK;
  for (const RegisteredClass& row : classes) {
    isShared = isShared || BelongsToAnotherCopy(RootOf(where), row);
    const HRESULT deleted = DeleteClass(RootOf(where), row);
    if (SUCCEEDED(outcome)) outcome = deleted;
  }
  const HRESULT libraryDeleted = isShared ? S_OK : UnregisterLibrary(where, library);
  return FAILED(outcome) ? outcome : libraryDeleted;
} catch (...) {
  return E_OUTOFMEMORY;
}

HRESULT InstallModule(bool install, const wchar_t* commandLine, std::span<const RegisteredClass> classes,
                      REFGUID library) {
  const bool forUser = commandLine != nullptr && _wcsicmp(commandLine, L"user") == 0;
  if (!forUser && commandLine != nullptr && *commandLine != L'\0') return E_INVALIDARG;
  const Registration where = forUser ? Registration::User : Registration::Machine;
  return install ? Register(where, classes, library) : Unregister(where, classes, library);
}

}  // namespace orvo::com
