// The class factory.

#include "boundary/Scene.h"
#include "com/ClassFactory.h"
#include "com/KELDataServerFacade.h"

namespace orvo::testing {
namespace {

ComPtr<com::ClassFactory> NewFactory() {
  return ComPtr<com::ClassFactory>(new com::ClassFactory(com::KELDataServerFacade::New));
}

TEST_F(Boundary, TheFactoryMakesServers) {
  const auto factory = NewFactory();
  for (const IID& iid : {__uuidof(IUnknown), __uuidof(IDispatch), __uuidof(_KELDataServer)}) {
    ComPtr<IUnknown> server;
    EXPECT_EQ(factory->CreateInstance(nullptr, iid, server.PutVoid()), S_OK);
    EXPECT_TRUE(server.Query<_KELDataServer>());
    EXPECT_EQ(AutomationObject::LiveCount(), 3) << "server, groups, spooler";
  }
  EXPECT_EQ(AutomationObject::LiveCount(), 0);
}

TEST_F(Boundary, TheFactoryRefusesWhatItCannotMake) {
  const auto factory = NewFactory();
  const std::int64_t alive = scene.ObjectsAlive();
  void* result = &scene;
  EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(_KELDataGroup), &result), E_NOINTERFACE);
  EXPECT_EQ(result, nullptr);
  EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IUnknown), nullptr), E_POINTER);
  const ComPtr<_KELDataServer> outer = Scene::NewServer();
  result = &scene;
  EXPECT_EQ(factory->CreateInstance(outer.Get(), __uuidof(IUnknown), &result), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(result, nullptr);
  const_cast<ComPtr<_KELDataServer>&>(outer) = nullptr;
  EXPECT_EQ(scene.ObjectsAlive(), alive);
}

TEST_F(Boundary, LocksKeepTheModule) {
  auto factory = NewFactory();
  const std::int64_t alive = scene.ObjectsAlive();
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(scene.ObjectsAlive(), alive + 2);
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  factory = nullptr;
  EXPECT_EQ(scene.ObjectsAlive(), 1) << "the lock that is left";
  EXPECT_EQ(NewFactory()->LockServer(FALSE), S_OK);
  EXPECT_EQ(scene.ObjectsAlive(), 0);
}

TEST_F(Boundary, TheFactoryOffersItsInterfaces) {
  const auto factory = NewFactory();
  const auto identity = factory.Query<IUnknown>();
  ASSERT_TRUE(identity);
  EXPECT_EQ(identity.Query<IClassFactory>().Get(), factory.Get());
  EXPECT_FALSE(factory.Query<IDispatch>());
  EXPECT_EQ(factory->QueryInterface(__uuidof(IUnknown), nullptr), E_POINTER);
}

TEST_F(Boundary, ServersOfOneThreadAreIndependentObjects) {
  const ComPtr<_KELDataServer> first = Scene::NewServer();
  const ComPtr<_KELDataServer> second = Scene::NewServer();
  EXPECT_NE(first.Get(), second.Get());
  first->put_AutoDownloadFirmware(VARIANT_TRUE);
  VARIANT_BOOL flag = VARIANT_TRUE;
  second->get_AutoDownloadFirmware(&flag);
  EXPECT_EQ(flag, VARIANT_FALSE);
}

}  // namespace
}  // namespace orvo::testing
