// Registration for the machine and for the user: what is written, and that it goes again. The registry is
// compared as a whole before and after.
#include "Client.h"
#include "Library.h"
#include "RegistryDump.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using com::ComPtr;

constexpr wchar_t ProgId[] = L"ORVOBusiness.KELDataServer";
constexpr wchar_t VersionedProgId[] = L"ORVOBusiness.KELDataServer.1";

// A key under Software\Classes that the test itself makes and removes.
class OwnKey {
 public:
  OwnKey(const std::wstring& key, DWORD options = 0) : path_(L"Software\\Classes\\" + key) {
    HKEY made = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path_.c_str(), 0, nullptr, options, KEY_ALL_ACCESS, nullptr,
                              &made, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(made);
  }
  OwnKey(const OwnKey&) = delete;
  OwnKey& operator=(const OwnKey&) = delete;
  ~OwnKey() { RegDeleteTreeW(HKEY_LOCAL_MACHINE, path_.c_str()); }

  void Put(const std::wstring& value) const {
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, path_.c_str(), nullptr, REG_SZ, value.c_str(),
                    static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  }

 private:
  std::wstring path_;
};

// A test with the server's library loaded and nothing of it registered; afterwards nothing may be either.
class RegistrationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    library.UnregisterServer();
    library.Install(false, L"user");
    before = DumpClasses();
    ASSERT_FALSE(Has(L"HKLM\\" + std::wstring(ProgId)));
  }
  void TearDown() override {
    library.UnregisterServer();
    library.Install(false, L"user");
  }
  static bool Has(const std::wstring& key) { return DumpClasses().contains(key); }
  RegistryLines NewLines() const { return Added(before, DumpClasses()); }
  void ExpectAsBefore() const {
    const RegistryLines now = DumpClasses();
    EXPECT_TRUE(Added(before, now).empty()) << "left behind:\n" << Printed(Added(before, now));
    EXPECT_TRUE(Added(now, before).empty()) << "gone:\n" << Printed(Added(now, before));
  }
  // What registration of the class writes under this root.
  static RegistryLines ClassLines(const std::wstring& root) {
    const std::wstring id = IdText(__uuidof(KELDataServer));
    const std::wstring key = root + L"\\CLSID\\" + id;
    const std::wstring progId = root + L"\\" + ProgId;
    const std::wstring versioned = root + L"\\" + VersionedProgId;
    const std::wstring description = L" : =ORVOBusiness data server";
    return {key,
            key + description,
            key + L"\\InprocServer32",
            key + L"\\InprocServer32 : =" + ServerLibrary(),
            key + L"\\InprocServer32 : ThreadingModel=Apartment",
            key + L"\\ProgID",
            key + L"\\ProgID : =" + VersionedProgId,
            key + L"\\VersionIndependentProgID",
            key + L"\\VersionIndependentProgID : =" + ProgId,
            key + L"\\TypeLib",
            key + L"\\TypeLib : =" + IdText(LIBID_ORVOBusiness),
            key + L"\\Version",
            key + L"\\Version : =1.0",
            key + L"\\Programmable",
            key + L"\\Programmable : =",
            progId,
            progId + description,
            progId + L"\\CLSID",
            progId + L"\\CLSID : =" + id,
            progId + L"\\CurVer",
            progId + L"\\CurVer : =" + VersionedProgId,
            versioned,
            versioned + description,
            versioned + L"\\CLSID",
            versioned + L"\\CLSID : =" + id};
  }
  static bool IsOfLibrary(const std::wstring& line) {
    return line.find(L"\\TypeLib\\" + IdText(LIBID_ORVOBusiness)) != std::wstring::npos ||
           line.find(L"\\Interface\\") != std::wstring::npos;
  }

  const Apartment apartment;
  const Library library{ServerLibrary()};
  RegistryLines before;
};

TEST_F(RegistrationTest, MachineWideRegistrationWritesClassAndTypeLibrary) {
  ASSERT_EQ(library.RegisterServer(), S_OK);
  RegistryLines lines = NewLines();
  EXPECT_TRUE(Added(DumpClasses(), before).empty()) << "keys of others are gone";
  const std::wstring libraryKey = L"HKLM\\TypeLib\\" + IdText(LIBID_ORVOBusiness) + L"\\1.0";
  EXPECT_TRUE(lines.contains(libraryKey + L" : =ORVOBusiness 1.0: data server for operator panels"));
  EXPECT_TRUE(lines.contains(libraryKey + L"\\0\\win64 : =" + ServerLibrary()));
  // Dual interfaces travel between apartments by the type library.
  for (const GUID& id :
       {__uuidof(_KELDataServer), __uuidof(_KELDataGroups), __uuidof(_KELDataGroup), __uuidof(_KELDataItems),
        __uuidof(_KELDataItem), __uuidof(_DataRequest), __uuidof(_DataRequests), __uuidof(_IExecuteTimerTick)})
    EXPECT_TRUE(
        lines.contains(L"HKLM\\Interface\\" + IdText(id) + L"\\TypeLib : =" + IdText(LIBID_ORVOBusiness)))
        << Printed({IdText(id)});
  std::erase_if(lines, IsOfLibrary);
  const RegistryLines expected = ClassLines(L"HKLM");
  EXPECT_EQ(lines, expected) << "not expected:\n"
                             << Printed(Added(expected, lines)) << "missing:\n"
                             << Printed(Added(lines, expected));

  ASSERT_EQ(library.UnregisterServer(), S_OK);
  ExpectAsBefore();
}

TEST_F(RegistrationTest, RegisteredServerIsCreatedByName) {
  CLSID id{};
  ASSERT_NE(CLSIDFromProgID(ProgId, &id), S_OK);
  ASSERT_EQ(library.RegisterServer(), S_OK);
  for (const wchar_t* name : {ProgId, VersionedProgId}) {
    ASSERT_EQ(CLSIDFromProgID(name, &id), S_OK);
    EXPECT_EQ(id, __uuidof(KELDataServer));
    ComPtr<_KELDataServer> server;
    ASSERT_EQ(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(_KELDataServer), server.PutVoid()),
              S_OK);
    LONG status = 0;
    EXPECT_EQ(server->get_ServerStatus(&status), S_OK);
    EXPECT_EQ(status, 1);
  }
  ComPtr<ITypeLib> types;
  EXPECT_EQ(LoadRegTypeLib(LIBID_ORVOBusiness, 1, 0, 0, types.Put()), S_OK);
  types = nullptr;
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_NE(CLSIDFromProgID(ProgId, &id), S_OK);
}

TEST_F(RegistrationTest, RegisteringTwiceIsTheSameAsOnce) {
  ASSERT_EQ(library.RegisterServer(), S_OK);
  const RegistryLines once = DumpClasses();
  ASSERT_EQ(library.RegisterServer(), S_OK);
  EXPECT_EQ(DumpClasses(), once);
}

TEST_F(RegistrationTest, UnregisteringWhatIsNotRegisteredIsNoFailure) {
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(library.Install(false, L"user"), S_OK);
  ExpectAsBefore();
  ASSERT_EQ(library.RegisterServer(), S_OK);
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  ExpectAsBefore();
}

TEST_F(RegistrationTest, RegistrationForTheUserStaysWithTheUser) {
  ASSERT_EQ(library.Install(true, L"user"), S_OK);
  RegistryLines lines = NewLines();
  // Wine has no type libraries of a user and writes them for the machine; they are not looked at here.
  std::erase_if(lines, IsOfLibrary);
  std::erase_if(lines, [](const std::wstring& line) {
    return line == L"HKCU\\CLSID" || line == L"HKCU" || line == L"HKCU\\TypeLib" ||
           line == L"HKCU\\Interface" || line == L"HKLM\\TypeLib\\" + IdText(LIBID_ORVOBusiness);
  });
  const RegistryLines expected = ClassLines(L"HKCU");
  EXPECT_EQ(lines, expected) << "not expected:\n"
                             << Printed(Added(expected, lines)) << "missing:\n"
                             << Printed(Added(lines, expected));

  ASSERT_EQ(library.Install(false, L"USER"), S_OK) << "the word is taken in any case";
  lines = NewLines();
  // The user's folder of classes, which the first registration of all makes, stays.
  std::erase_if(lines, [](const std::wstring& line) { return line == L"HKCU\\CLSID" || line == L"HKCU"; });
  EXPECT_TRUE(lines.empty()) << Printed(lines);
}

TEST_F(RegistrationTest, InstallWithoutTheUserIsForTheMachine) {
  ASSERT_EQ(library.RegisterServer(), S_OK);
  const RegistryLines registered = DumpClasses();
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  for (const wchar_t* nothing : {static_cast<const wchar_t*>(nullptr), L""}) {
    ASSERT_EQ(library.Install(true, nothing), S_OK);
    EXPECT_EQ(DumpClasses(), registered);
    ASSERT_EQ(library.Install(false, nothing), S_OK);
    ExpectAsBefore();
  }
}

TEST_F(RegistrationTest, InstallRefusesAnotherCommandLine) {
  EXPECT_EQ(library.Install(true, L"everybody"), E_INVALIDARG);
  EXPECT_EQ(library.Install(false, L"everybody"), E_INVALIDARG);
  ExpectAsBefore();
}

TEST_F(RegistrationTest, KeysOfOthersAreNotTouched) {
  const OwnKey progId(L"ORVOBusiness.Something");
  progId.Put(L"another product");
  const OwnKey shorter(L"ORVOBusiness");
  const OwnKey longer(std::wstring(VersionedProgId) + L"2\\CLSID");
  const RegistryLines all = DumpAllClasses();
  ASSERT_EQ(library.RegisterServer(), S_OK);
  const RegistryLines registered = DumpAllClasses();
  EXPECT_TRUE(Added(registered, all).empty()) << Printed(Added(registered, all));
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  const RegistryLines unregistered = DumpAllClasses();
  EXPECT_TRUE(Added(all, unregistered).empty()) << Printed(Added(all, unregistered));
  EXPECT_TRUE(Added(unregistered, all).empty()) << Printed(Added(unregistered, all));
}

TEST_F(RegistrationTest, NameThatAnotherClassHasTakenOverStays) {
  const std::wstring other = L"{11111111-2222-3333-4444-555555555555}";
  ASSERT_EQ(library.RegisterServer(), S_OK);
  const OwnKey name(ProgId);
  const OwnKey id(std::wstring(ProgId) + L"\\CLSID");
  id.Put(other);
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  const RegistryLines lines = NewLines();
  EXPECT_TRUE(lines.contains(L"HKLM\\" + std::wstring(ProgId) + L"\\CLSID : =" + other));
  for (const std::wstring& line : lines)
    EXPECT_TRUE(line.starts_with(L"HKLM\\" + std::wstring(ProgId)) &&
                !line.starts_with(L"HKLM\\" + std::wstring(VersionedProgId)))
        << Printed({line});
}

TEST_F(RegistrationTest, StepThatFailsLeavesNothingBehind) {
  // A key that does not outlast the session takes no lasting keys below it: registration fails inside the
  // class.
  const OwnKey obstacle(L"CLSID\\" + IdText(__uuidof(KELDataServer)), REG_OPTION_VOLATILE);
  EXPECT_EQ(library.RegisterServer(), HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE));
  ExpectAsBefore();
}

TEST_F(RegistrationTest, PanelIsRegisteredAndUnregisteredAlike) {
  const Library panel(PanelLibrary());
  panel.UnregisterServer();
  before = DumpClasses();
  ASSERT_EQ(panel.RegisterServer(), S_OK);
  EXPECT_TRUE(Added(DumpClasses(), before).empty()) << "keys of others are gone";
  CLSID id{};
  ASSERT_EQ(CLSIDFromProgID(L"SimulatedPanel.Channel.1", &id), S_OK);
  EXPECT_EQ(id, PanelClass());
  ComPtr<IUnknown> driver;
  EXPECT_EQ(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IUnknown), driver.PutVoid()), S_OK);
  driver = nullptr;
  ASSERT_EQ(panel.UnregisterServer(), S_OK);
  ExpectAsBefore();
}

}  // namespace
}  // namespace orvo::testing
