// Use without registration: a server and a driver that only the manifests name, and calls from another
// apartment, which need nothing but the type library.
#include "Client.h"
#include "IORVOBusiness_h.h"
#include "Library.h"
#include "Manifest.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

namespace orvo::testing {
namespace {

using com::ComPtr;

constexpr wchar_t Server[] = L"ORVOBusiness.KELDataServer";
constexpr wchar_t Panel[] = L"SimulatedPanel.Channel.1";

template <class Interface>
ComPtr<Interface> CreateByName(const wchar_t* progId) {
  CLSID id{};
  EXPECT_EQ(CLSIDFromProgID(progId, &id), S_OK);
  ComPtr<Interface> object;
  EXPECT_EQ(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), object.PutVoid()), S_OK);
  return object;
}

class ManifestTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CLSID id{};
    ASSERT_NE(CLSIDFromProgID(Server, &id), S_OK)
        << "the server is registered: the manifest would prove nothing";
  }
  const Apartment apartment;
};

TEST_F(ManifestTest, ServerIsCreatedByNameAndWorks) {
  const ManifestContext context;
  const auto server = CreateByName<_KELDataServer>(Server);
  ASSERT_TRUE(server);
  const auto group = Configure(*server.Get(), context.Files().WriteDrivers("SimulatedPanel.Channel"));
  Exchange(*server.Get(), *group.Get());
}

TEST_F(ManifestTest, ServerHasItsVersionedNameToo) {
  const ManifestContext context;
  EXPECT_TRUE(CreateByName<_KELDataServer>(L"ORVOBusiness.KELDataServer.1"));
}

TEST_F(ManifestTest, ServerTakesADriverThatOnlyItsManifestNames) {
  const ManifestContext context;
  const auto server = CreateByName<_KELDataServer>(Server);
  ASSERT_TRUE(server);
  // Not one of the server's own: it comes out of SimulatedPanel.dll.
  const auto group = Configure(*server.Get(), context.Files().WriteDrivers("SimulatedPanel.Channel.1"));
  EXPECT_NE(GetModuleHandleW(L"SimulatedPanel.dll"), nullptr);
  Exchange(*server.Get(), *group.Get());
}

TEST_F(ManifestTest, PanelIsCreatedByName) {
  const ManifestContext context;
  const auto panel = CreateByName<ICommunicationDriver>(Panel);
  ASSERT_TRUE(panel);
  EXPECT_EQ(panel->OpenCommunication(VARIANT_TRUE), S_OK);
  EXPECT_EQ(panel->CloseCommunication(), S_OK);
}

// What the other apartment finds.
struct Found {
  HRESULT unmarshalled = E_FAIL;
  HRESULT status = E_FAIL;
  LONG value = 0;
  HRESULT groups = E_FAIL;
  LONG groupCount = -1;
  HRESULT failure = S_OK;
  bool same = false;  // a call by name goes the same way
};

Found UseFromAnotherApartment(IStream* stream, HANDLE context) {
  ULONG_PTR cookie = 0;
  ActivateActCtx(context, &cookie);
  Found found;
  {
    const Apartment apartment;
    ComPtr<_KELDataServer> server;
    found.unmarshalled = CoGetInterfaceAndReleaseStream(stream, __uuidof(_KELDataServer), server.PutVoid());
    if (server) {
      found.status = server->get_ServerStatus(&found.value);
      ComPtr<_KELDataGroups> groups;
      found.groups = server->get_KELDataGroups(groups.Put());
      if (groups) {
        groups->get_Count(&found.groupCount);
        LONG handle = 77;
        ComPtr<_KELDataGroup> group;
        found.failure = groups->Item(&handle, group.Put());
      }
      VARIANT result;
      VariantInit(&result);
      DISPPARAMS none{};
      const HRESULT called =
          server->Invoke(11, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, &result, nullptr, nullptr);
      found.same = called == S_OK && V_VT(&result) == VT_I4 && V_I4(&result) == found.value;
    }
  }
  DeactivateActCtx(0, cookie);
  return found;
}

TEST_F(ManifestTest, AnotherApartmentCallsThroughTheTypeLibrary) {
  const ManifestContext context;
  const auto server = CreateByName<_KELDataServer>(Server);
  ASSERT_TRUE(server);
  const auto group = Configure(*server.Get(), context.Files().WriteDrivers("SimulatedPanel.Channel"));
  IStream* stream = nullptr;
  ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(__uuidof(_KELDataServer), server.Get(), &stream), S_OK);

  Found found;
  HANDLE done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::thread other([&] {
    found = UseFromAnotherApartment(stream, context.Handle());
    SetEvent(done);
  });
  // The server's apartment runs messages meanwhile: that is how the calls come in.
  DWORD index = 0;
  const HRESULT waited = CoWaitForMultipleHandles(0, 20000, 1, &done, &index);
  EXPECT_EQ(waited, S_OK) << "the other apartment does not come back";
  if (FAILED(waited)) std::_Exit(1);
  other.join();
  CloseHandle(done);
  EXPECT_EQ(found.unmarshalled, S_OK);
  EXPECT_EQ(found.status, S_OK);
  EXPECT_EQ(found.value, 2);
  EXPECT_EQ(found.groups, S_OK);
  EXPECT_EQ(found.groupCount, 1);
  EXPECT_EQ(found.failure, static_cast<HRESULT>(0x80040006U));
  EXPECT_TRUE(found.same);
}

}  // namespace
}  // namespace orvo::testing
