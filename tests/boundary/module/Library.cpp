#include "Library.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace orvo::testing {

std::wstring ServerLibrary() {
  return std::filesystem::path("Z:" ORVO_SERVER_LIBRARY).make_preferred().wstring();
}

std::wstring PanelLibrary() {
  return std::filesystem::path("Z:" ORVO_PANEL_LIBRARY).make_preferred().wstring();
}

Library::Library(const std::wstring& path) : module_(LoadLibraryW(path.c_str())) {
  EXPECT_NE(module_, nullptr) << "error " << GetLastError();
}

Library::~Library() {
  FreeLibrary(module_);
}

com::ComPtr<IUnknown> Library::Create(REFCLSID id) const {
  using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
  com::ComPtr<IClassFactory> factory;
  EXPECT_EQ(Export<GetClassObject>("DllGetClassObject")(id, __uuidof(IClassFactory), factory.PutVoid()), S_OK);
  com::ComPtr<IUnknown> object;
  EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IUnknown), object.PutVoid()), S_OK);
  return object;
}

HRESULT Library::Install(bool install, const wchar_t* commandLine) const {
  using DllInstall = HRESULT(STDAPICALLTYPE*)(BOOL, const wchar_t*);
  return Export<DllInstall>("DllInstall")(install ? TRUE : FALSE, commandLine);
}

Scratch::Scratch() {
  static int number = 0;
  folder_ = (std::filesystem::temp_directory_path() /
             ("orvo_module_" + std::to_string(GetCurrentProcessId()) + "_" + std::to_string(++number)))
                .wstring();
  std::filesystem::create_directories(folder_);
}

Scratch::~Scratch() {
  std::error_code ignored;  // a library that is still loaded stays
  std::filesystem::remove_all(folder_, ignored);
}

std::wstring Scratch::Write(const std::wstring& name, const std::string& content) const {
  const std::filesystem::path path = std::filesystem::path(folder_) / name;
  std::ofstream(path, std::ios::binary) << content;
  return path.wstring();
}

std::wstring Scratch::Copy(const std::wstring& file) const {
  const std::filesystem::path path = std::filesystem::path(folder_) / std::filesystem::path(file).filename();
  std::filesystem::copy_file(file, path);
  return path.wstring();
}

std::wstring Scratch::WriteDrivers(const std::string& progId) const {
  return Write(L"drivers.ini", "[Drivers]\r\nDataCommunication=" + progId + "\r\n2=PanelB\r\n");
}

}  // namespace orvo::testing
