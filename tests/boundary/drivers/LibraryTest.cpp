// SimulatedPanel.dll as a foreign component: loaded, registered, made by its identifier, unloaded; in real
// time.

#include "com/Automation.h"
#include "com/DriverImport.h"
#include "platform/portable/DiskFiles.h"
#include "platform/win32/Win32Platform.h"
#include "server/KELDataServer.h"
#include "unit/drivers/PanelFixture.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace orvo::testing {

namespace {

using com::ComPtr;

// The library, loaded for the length of a test.
class Library {
 public:
  Library() : module_(LoadLibraryA(ORVO_PANEL_LIBRARY)) {
    if (module_ == nullptr)
      throw std::runtime_error(ORVO_PANEL_LIBRARY ": error " + std::to_string(GetLastError()));
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { FreeLibrary(module_); }

  HRESULT Call(const char* name) const { return Function<HRESULT(STDAPICALLTYPE*)()>(name)(); }
  HRESULT Install(bool install, const wchar_t* forWhom) const {
    return Function<HRESULT(STDAPICALLTYPE*)(BOOL, const wchar_t*)>("DllInstall")(install, forWhom);
  }
  HRESULT ClassObject(REFCLSID id, REFIID iid, void** result) const {
    using Get = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    return Function<Get>("DllGetClassObject")(id, iid, result);
  }

 private:
  template <class Pointer>
  Pointer Function(const char* name) const {
    return reinterpret_cast<Pointer>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
  }

  const HMODULE module_;
};

bool HasKey(HKEY root, const std::wstring& key) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(root, (L"Software\\Classes\\" + key).c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
    return false;
  RegCloseKey(opened);
  return true;
}

void PutKey(const std::wstring& key, const std::wstring& text) {
  RegSetKeyValueW(HKEY_LOCAL_MACHINE, (L"Software\\Classes\\" + key).c_str(), nullptr, REG_SZ, text.c_str(),
                  static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

void RemoveKey(const std::wstring& key) {
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, (L"Software\\Classes\\" + key).c_str());
  RegDeleteKeyW(HKEY_LOCAL_MACHINE, (L"Software\\Classes\\" + key).c_str());
}

class PanelLibrary : public ::testing::Test {
 protected:
  PanelLibrary() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
  ~PanelLibrary() override { CoUninitialize(); }

  DriverHost Host() { return {platform, files}; }

  Win32Platform platform;
  DiskFiles files;
  const Library library;
};

constexpr wchar_t VersionedProgId[] = L"SimulatedPanel.Channel.1";

TEST_F(PanelLibrary, IsRegisteredForTheMachineAndForTheUser) {
  const auto keys = [](HKEY root) {
    return std::to_string(HasKey(root, VersionedProgId)) +
           std::to_string(HasKey(root, L"SimulatedPanel.Channel\\CurVer"));
  };
  ASSERT_EQ(library.Call("DllRegisterServer"), S_OK);
  EXPECT_EQ(keys(HKEY_LOCAL_MACHINE), "11");
  EXPECT_EQ(keys(HKEY_CURRENT_USER), "00");
  EXPECT_EQ(library.Call("DllUnregisterServer"), S_OK);
  EXPECT_EQ(keys(HKEY_LOCAL_MACHINE), "00");
  ASSERT_EQ(library.Install(true, L"user"), S_OK);
  EXPECT_EQ(keys(HKEY_LOCAL_MACHINE), "00");
  EXPECT_EQ(keys(HKEY_CURRENT_USER), "11");
  EXPECT_EQ(library.Install(false, L"user"), S_OK);
  EXPECT_EQ(keys(HKEY_CURRENT_USER), "00");
}

TEST_F(PanelLibrary, ServesAServerUnderItsIdentifier) {
  ASSERT_EQ(library.Call("DllRegisterServer"), S_OK);
  {
    DriverRegistry drivers;
    drivers.SetFallback(com::CreateComDriver);
    Win32Platform serverPlatform;
    MemoryFiles memory;
    memory.PutFile("drivers.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel.1\n2=PanelB\n");
    const auto server = KELDataServer::Create({serverPlatform, memory, drivers});
    server->SetDriverConfigurationFile("drivers.ini");
    server->PutDeviceType(2);
    const auto group = server->KELDataGroups()->Add();
    group->KELDataItems()->Add("WO104");
    group->KELDataItems()->Add("ST0020010");
    server->OpenCommunication();
    SafeArray<std::int32_t> errors;
    group->SyncWrite({1, 2}, {std::int32_t{1234}, Variant("Cherry")}, errors);
    SafeArray<Variant> values;
    group->SyncRead({1, 2}, values, errors);
    EXPECT_EQ(LogText(values.At(0)), "I2:1234");
    EXPECT_EQ(LogText(values.At(1)), "String:\"Cherry    \"");
    EXPECT_EQ(library.Call("DllCanUnloadNow"), S_FALSE);
    server->CloseCommunication();
  }
  EXPECT_EQ(library.Call("DllCanUnloadNow"), S_OK);
  EXPECT_EQ(library.Call("DllUnregisterServer"), S_OK);
}

TEST_F(PanelLibrary, HasOneClass) {
  ComPtr<IClassFactory> factory;
  EXPECT_EQ(library.ClassObject(IID_IUnknown, __uuidof(IClassFactory), factory.PutVoid()),
            CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(library.ClassObject(IID_IUnknown, __uuidof(IClassFactory), nullptr), E_POINTER);
}

TEST_F(PanelLibrary, AnIdentifierThatNobodyHasRegisteredIsNotKnown) {
  EXPECT_EQ(com::CreateComDriver("There.Is.None", Host()), nullptr);
  EXPECT_EQ(com::CreateComDriver("", Host()), nullptr);
  DriverRegistry drivers;
  drivers.SetFallback(com::CreateComDriver);
  const std::string failure = FailureOf([&] { drivers.Create("There.Is.None", Host()); });
  EXPECT_EQ(failure.substr(0, 4), "429:");
  EXPECT_NE(failure.find("There.Is.None"), std::string::npos);
}

TEST_F(PanelLibrary, AZeroCharacterDoesNotShortenAnIdentifier) {
  ASSERT_EQ(library.Call("DllRegisterServer"), S_OK);
  EXPECT_NE(com::CreateComDriver("SimulatedPanel.Channel.1", Host()), nullptr);
  EXPECT_EQ(com::CreateComDriver(std::string("SimulatedPanel.Channel.1\0x", 26), Host()), nullptr);
  EXPECT_EQ(library.Call("DllUnregisterServer"), S_OK);
}

TEST_F(PanelLibrary, AClassThatCannotBeMadeIsReportedWithItsNameAndTheReason) {
  const std::wstring id = L"{0b6b6f3c-6a7e-4d8f-9f0a-5b8f3a1c2d4e}";
  PutKey(L"BrokenDriver.Channel\\CLSID", id);
  PutKey(L"CLSID\\" + id + L"\\InprocServer32", L"C:\\there\\is\\none.dll");
  const std::string failure = FailureOf([&] { com::CreateComDriver("BrokenDriver.Channel", Host()); });
  RemoveKey(L"BrokenDriver.Channel");
  RemoveKey(L"CLSID\\" + id);
  const std::string start = "429:";
  EXPECT_EQ(failure.substr(0, start.size()), start);
  const auto name = failure.find("BrokenDriver.Channel: ");
  ASSERT_NE(name, std::string::npos) << failure;
  EXPECT_GT(failure.size(), name + 22) << failure;
}

}  // namespace

}  // namespace orvo::testing
