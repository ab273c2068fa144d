// One of the libraries that clients load, taken by its path as the system does it: no registration is needed.
#pragma once

#include "com/Automation.h"
#include "com/ComPtr.h"

#include <string>

namespace orvo::testing {

// Paths of the libraries under test.
std::wstring ServerLibrary();
std::wstring PanelLibrary();
// The class of the simulated panel, as its manifest names it.
CLSID PanelClass();

class Library {
 public:
  explicit Library(const std::wstring& path);
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library();

  // The object of a creatable class, by the class factory.
  com::ComPtr<IUnknown> Create(REFCLSID id) const;
  HRESULT CanUnloadNow() const { return Call("DllCanUnloadNow"); }
  HRESULT RegisterServer() const { return Call("DllRegisterServer"); }
  HRESULT UnregisterServer() const { return Call("DllUnregisterServer"); }
  HRESULT Install(bool install, const wchar_t* commandLine) const;

 private:
  template <class Function>
  Function Export(const char* name) const {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
  }
  HRESULT Call(const char* name) const { return Export<HRESULT(STDAPICALLTYPE*)()>(name)(); }

  HMODULE module_;
};

// COM on this thread.
class Apartment {
 public:
  Apartment() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
  ~Apartment() { CoUninitialize(); }
};

// An automation string for the length of a statement.
class Text {
 public:
  explicit Text(const std::wstring& text)
      : value_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  ~Text() { SysFreeString(value_); }
  operator BSTR() const { return value_; }
  BSTR* Address() { return &value_; }

 private:
  BSTR value_;
};

// A folder of the test's own, removed with its files (it has no folders) at the end.
class Scratch {
 public:
  Scratch();
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch();

  const std::wstring& Folder() const noexcept { return folder_; }
  std::wstring Write(const std::wstring& name, const std::string& content) const;
  std::wstring Copy(const std::wstring& file) const;
  // A driver configuration file that names this driver, with the device type 2.
  std::wstring WriteDrivers(const std::string& progId) const;

 private:
  std::wstring folder_;
};

}  // namespace orvo::testing
