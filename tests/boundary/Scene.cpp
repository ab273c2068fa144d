#include "boundary/Scene.h"

#include "com/ClassFactory.h"
#include "com/FacadeIdentity.h"
#include "com/KELDataServerFacade.h"
#include "spooler/DataRequest.h"

namespace orvo::testing {

Scene::Scene() {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  com::ThreadHome::Setup setup;
  setup.platform = [] { return std::make_unique<SimulatedPlatform>(); };
  setup.files = [] {
    auto files = std::make_unique<MemoryFiles>();
    files->PutFile("panel.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n2=PanelB\n");
    files->PutFile("scripted.ini", "[Drivers]\nDataCommunication=Scripted.Channel\n2=PanelB\n9=Unknown\n");
    files->PutFile("none.ini", "[Drivers]\nDataCommunication=There.Is.None\n2=PanelB\n");
    return files;
  };
  setup.drivers = [this](DriverRegistry& drivers) {
    drivers.Register(SimulatedPanel::ProgId, [this](DriverHost host) {
      auto panel = SimulatedPanel::Make(host);
      panel_ = panel;
      return panel;
    });
    drivers.Register("Scripted.Channel", [this](DriverHost) { return scripted; });
  };
  com::ThreadHome::Configure(std::move(setup));
  home_ = com::ThreadHome::Current();
}

Scene::~Scene() {
  server = nullptr;
  // What was posted holds whom it is for.
  if (home_) Platform().Advance(1ms);
  EXPECT_EQ(AutomationObject::LiveCount(), 0) << "objects of the system are left";
  if (home_) {
    EXPECT_EQ(Platform().TimersAlive(), 0U) << "a timer is left";
  }
  home_ = nullptr;
  EXPECT_EQ(com::ModuleCount::Value(), 0) << "objects of the boundary are left";
  com::ThreadHome::Configure({});
  SetErrorInfo(0, nullptr);
  CoUninitialize();
}

ComPtr<_KELDataServer> Scene::NewServer() {
  const ComPtr<com::ClassFactory> factory(new com::ClassFactory(com::KELDataServerFacade::New));
  ComPtr<_KELDataServer> server;
  EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(_KELDataServer), server.PutVoid()), S_OK);
  return server;
}

void Scene::Configure(const char* driverFile) {
  if (!server) server = NewServer();
  EXPECT_EQ(server->SetDriverConfigurationFile(Text16(driverFile)), S_OK);
  EXPECT_EQ(server->put_DeviceType(2), S_OK);
}

void Scene::Open(const char* driverFile) {
  Configure(driverFile);
  EXPECT_EQ(server->OpenCommunication(), S_OK);
}

ComPtr<_KELDataGroups> Scene::Groups() {
  ComPtr<_KELDataGroups> groups;
  EXPECT_EQ(server->get_KELDataGroups(groups.Put()), S_OK);
  return groups;
}

ComPtr<_KELDataGroup> Scene::AddGroup(std::initializer_list<const char*> itemIds, const char* name) {
  ComPtr<_KELDataGroup> group;
  EXPECT_EQ(Groups()->Add(*(name == nullptr ? Missing() : Str(name)), group.Put()), S_OK);
  ComPtr<_KELDataItems> items;
  EXPECT_EQ(group->get_KELDataItems(items.Put()), S_OK);
  for (const char* itemId : itemIds) {
    ComPtr<_KELDataItem> item;
    EXPECT_EQ(items->Add(&Text16(itemId), *Missing(), item.Put()), S_OK) << itemId;
  }
  return group;
}

ComPtr<_KELDataItem> Scene::Item(const ComPtr<_KELDataGroup>& group, LONG handle) {
  ComPtr<_KELDataItems> items;
  EXPECT_EQ(group->get_KELDataItems(items.Put()), S_OK);
  ComPtr<_KELDataItem> item;
  EXPECT_EQ(items->Item(&handle, item.Put()), S_OK);
  return item;
}

ComPtr<_DataRequests> Scene::Spooler() {
  const auto core = std::dynamic_pointer_cast<orvo::KELDataServer>(com::OwnObject(server.Get()));
  return com::FacadeOfAny(core->Spooler()).Query<_DataRequests>();
}

ComPtr<_DataRequest> Scene::NewRequest() {
  return com::FacadeOfAny(std::make_shared<orvo::DataRequest>()).Query<_DataRequest>();
}

std::weak_ptr<com::ThreadHome> Scene::DropHome() {
  const std::weak_ptr<com::ThreadHome> home = home_;
  home_ = nullptr;
  return home;
}

}  // namespace orvo::testing
