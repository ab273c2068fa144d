#include "FuzzScene.h"

#include "com/ClassFactory.h"
#include "com/FacadeIdentity.h"
#include "com/KELDataServerFacade.h"
#include "platform/simulated/MemoryFiles.h"
#include "simulated/SimulatedPanel.h"
#include "spooler/DataRequest.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace orvo::testing {

using com::ComPtr;
using namespace std::chrono_literals;

namespace {

constexpr std::size_t MostObjects = 4;  // of one class

// A step of the scene itself failed: there is nothing to test then.
void Must(HRESULT result, const char* step) {
  if (SUCCEEDED(result)) return;
  std::printf("FAILED: the scene cannot be made: %s: %08lX\n", step, static_cast<unsigned long>(result));
  std::exit(2);
}

struct Text {
  explicit Text(const wchar_t* text) : value(SysAllocString(text)) {}
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  ~Text() { SysFreeString(value); }
  BSTR value;
};

VARIANT Missing() {
  VARIANT missing;
  V_VT(&missing) = VT_ERROR;
  V_ERROR(&missing) = DISP_E_PARAMNOTFOUND;
  return missing;
}

std::unique_ptr<Files> NewFiles() {
  auto files = std::make_unique<MemoryFiles>();
  files->PutFile("drivers.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n1=PanelA\n2=PanelB\n");
  files->PutFile("none.ini", "[Drivers]\nDataCommunication=There.Is.None\n2=PanelB\n");
  files->PutFile("panel.fw", "firmware");
  files->PutFile("panel.obj", std::string(3000, 'p'));
  return files;
}

void AddDrivers(DriverRegistry& drivers) {
  drivers.Register(SimulatedPanel::ProgId, [](DriverHost host) { return SimulatedPanel::Make(host); });
}

std::vector<FuzzMember> MembersOf(ITypeInfo& info) {
  std::vector<FuzzMember> members;
  TYPEATTR* attributes = nullptr;
  Must(info.GetTypeAttr(&attributes), "type attributes");
  for (WORD i = 0; i < attributes->cFuncs; ++i) {
    FUNCDESC* function = nullptr;
    Must(info.GetFuncDesc(i, &function), "member");
    const MEMBERID id = function->memid;
    info.ReleaseFuncDesc(function);
    // What every object offers, IUnknown and IDispatch, has identifiers of its own range.
    const bool isNew =
        std::none_of(members.begin(), members.end(), [id](const FuzzMember& each) { return each.id == id; });
    if (!isNew || (id >= 0x60000000 && id <= 0x6001FFFF)) continue;
    BSTR name = nullptr;
    UINT count = 0;
    Must(info.GetNames(id, &name, 1, &count), "name");
    members.push_back({id, com::TextOf(name)});
    SysFreeString(name);
  }
  info.ReleaseTypeAttr(attributes);
  return members;
}

}  // namespace

FuzzScene::FuzzScene(FuzzRandom& random, std::function<void()> called) : random_(random) {
  world_.called = std::move(called);
  com::ThreadHome::Configure({[] { return std::make_unique<SimulatedPlatform>(); }, NewFiles, AddDrivers});
  home_ = com::ThreadHome::Current();

  const ComPtr<com::ClassFactory> factory(new com::ClassFactory(com::KELDataServerFacade::New));
  Must(factory->CreateInstance(nullptr, __uuidof(_KELDataServer), server_.PutVoid()), "a server");
  const Text drivers(L"drivers.ini");
  Must(server_->SetDriverConfigurationFile(drivers.value), "a driver");
  Must(server_->put_DeviceType(2), "a device type");
  ComPtr<_KELDataGroups> groups;
  Must(server_->get_KELDataGroups(groups.Put()), "groups");
  AddGroup(groups, L"Line");
  AddGroup(groups, L"Other");

  LONG handle = 1;
  ComPtr<_KELDataGroup> group;
  Must(groups->Item(&handle, group.Put()), "a group");
  ComPtr<_KELDataItems> items;
  Must(group->get_KELDataItems(items.Put()), "items");
  ComPtr<_KELDataItem> item;
  Must(items->Item(&handle, item.Put()), "an item");
  const auto core = std::dynamic_pointer_cast<orvo::KELDataServer>(com::OwnObject(server_.Get()));
  spooler_ = com::FacadeOfAny(core->Spooler()).Query<_DataRequests>();
  requests_.push_back(com::FacadeOfAny(std::make_shared<orvo::DataRequest>()).Query<_DataRequest>());

  AddClass(__uuidof(_KELDataServer), ComPtr<IDispatch>(server_.Get()));
  AddClass(__uuidof(_KELDataGroups), ComPtr<IDispatch>(groups.Get()));
  AddClass(__uuidof(_KELDataGroup), ComPtr<IDispatch>(group.Get()));
  AddClass(__uuidof(_KELDataItems), ComPtr<IDispatch>(items.Get()));
  AddClass(__uuidof(_KELDataItem), ComPtr<IDispatch>(item.Get()));
  AddClass(__uuidof(_DataRequests), ComPtr<IDispatch>(spooler_.Get()));
  AddClass(__uuidof(_DataRequest), ComPtr<IDispatch>(requests_.front().Get()));
  // A face of its own with the same identity as the groups.
  AddClass(__uuidof(_IExecuteTimerTick), ComPtr<IDispatch>(groups.Query<_IExecuteTimerTick>().Get()));
  NoteObjects();
}

FuzzScene::~FuzzScene() {
  BreakCircles();
  world_.objects.clear();
  world_.called = nullptr;
  classes_.clear();
  requests_.clear();
  spooler_ = nullptr;
  server_ = nullptr;
  // What was posted holds whom it is for.
  Advance(1s);
  home_ = nullptr;
  com::ThreadHome::Configure({});
  SetErrorInfo(0, nullptr);
}

void FuzzScene::AddClass(REFIID iid, ComPtr<IDispatch> first) {
  FuzzClass& added = classes_.emplace_back();
  added.info = &home_->Types().Interface(iid);
  BSTR name = nullptr;
  Must(added.info->TypeInfo()->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr),
       "a type's name");
  added.name = com::TextOf(name);
  SysFreeString(name);
  added.members = MembersOf(*added.info->TypeInfo().Get());
  added.objects.push_back(std::move(first));
}

void FuzzScene::AddGroup(const ComPtr<_KELDataGroups>& groups, const wchar_t* name) {
  VARIANT argument;
  const Text text(name);
  V_VT(&argument) = VT_BSTR;
  V_BSTR(&argument) = text.value;
  ComPtr<_KELDataGroup> group;
  Must(groups->Add(argument, group.Put()), "a group");
  ComPtr<_KELDataItems> items;
  Must(group->get_KELDataItems(items.Put()), "items");
  for (const wchar_t* identifier : {L"WO100", L"FL112", L"ST0020010", L"BI100.3", L"RA0316"}) {
    Text id(identifier);
    ComPtr<_KELDataItem> item;
    Must(items->Add(&id.value, Missing(), item.Put()), "an item");
  }
}

void FuzzScene::Open() {
  Must(server_->OpenCommunication(), "opening");
}

void FuzzScene::Close() {
  LONG status = 0;
  Must(server_->get_ServerStatus(&status), "the status");
  if (status == 3) Must(server_->CloseCommunication(), "closing");
}

void FuzzScene::Advise() {
  const FuzzClass& chosen = random_.Pick(std::span<const FuzzClass>(classes_));
  const auto container =
      random_.Pick(std::span<const ComPtr<IDispatch>>(chosen.objects)).Query<IConnectionPointContainer>();
  if (!container) return;
  ComPtr<IEnumConnectionPoints> points;
  Must(container->EnumConnectionPoints(points.Put()), "connection points");
  ComPtr<IConnectionPoint> point;
  Must(points->Next(1, point.Put(), nullptr), "a connection point");
  const auto sink = ClientObject::New(random_.OneIn(4) ? Habit::Raises : Habit::EveryName, world_.called);
  DWORD cookie = 0;
  const HRESULT advised = point->Advise(sink.Get(), &cookie);
  // A face without its object refuses.
  if (SUCCEEDED(advised) && random_.OneIn(2)) point->Unadvise(cookie);
}

void FuzzScene::Take(IUnknown* object) {
  if (!random_.OneIn(3)) return;
  for (FuzzClass& each : classes_) {
    ComPtr<IDispatch> face;
    if (FAILED(object->QueryInterface(each.info->Id(), face.PutVoid()))) continue;
    if (each.info->Id() == __uuidof(_DataRequest)) requests_.push_back(face.Query<_DataRequest>());
    if (each.objects.size() < MostObjects)
      each.objects.push_back(std::move(face));
    else
      each.objects[random_.Below(MostObjects)] = std::move(face);
    break;
  }
  NoteObjects();
}

void FuzzScene::NoteObjects() {
  world_.objects.clear();
  for (const FuzzClass& each : classes_)
    for (const ComPtr<IDispatch>& object : each.objects)
      world_.objects.push_back(object.Get());
}

void FuzzScene::BreakCircles() {
  server_->CloseCommunication();
  spooler_->Clear();
  spooler_->putref_DataComm(nullptr);
  for (const ComPtr<_DataRequest>& request : requests_) {
    request->putref_PriorReq(nullptr);
    request->putref_NextReq(nullptr);
    request->putref_ReqGroup(nullptr);
    request->putref_ReqItem(nullptr);
    SAFEARRAY* none = nullptr;
    request->SetDATAValues(&none);
  }
}

}  // namespace orvo::testing
