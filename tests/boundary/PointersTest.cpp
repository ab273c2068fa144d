// Pointers that a caller leaves out: refused before anything happens; results are cleared before anything
// fails.

#include "boundary/Calls.h"
#include "boundary/Scene.h"

#include <functional>

namespace orvo::testing {
namespace {

struct NullCall {
  const char* name;
  std::function<HRESULT()> call;
};

void ExpectRefused(const std::vector<NullCall>& calls) {
  for (const NullCall& row : calls) {
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(Hex(row.call()), Hex(E_POINTER)) << row.name;
  }
}

TEST_F(Boundary, ResultsOfTheServerNeedAPlace) {
  scene.Configure("scripted.ini");
  _KELDataServer& s = *scene.server.Get();
  scene.scripted->log.clear();
  scene.scripted->logQuestions = true;
  ExpectRefused({
      {"MinorVersion", [&] { return s.get_MinorVersion(nullptr); }},
      {"MajorVersion", [&] { return s.get_MajorVersion(nullptr); }},
      {"Description", [&] { return s.get_Description(nullptr); }},
      {"DeviceName", [&] { return s.get_DeviceName(nullptr); }},
      {"BootVersion", [&] { return s.get_BootVersion(nullptr); }},
      {"BootDate", [&] { return s.get_BootDate(nullptr); }},
      {"FirmwareVersion", [&] { return s.get_FirmwareVersion(nullptr); }},
      {"BoardDescription", [&] { return s.get_BoardDescription(nullptr); }},
      {"BoardStatus", [&] { return s.get_BoardStatus(nullptr); }},
      {"CommunicationStatus", [&] { return s.get_CommunicationStatus(nullptr); }},
      {"ServerStatus", [&] { return s.get_ServerStatus(nullptr); }},
      {"KELDataGroups", [&] { return s.get_KELDataGroups(nullptr); }},
      {"AutoDownloadFirmware", [&] { return s.get_AutoDownloadFirmware(nullptr); }},
      {"AutoDownloadProject", [&] { return s.get_AutoDownloadProject(nullptr); }},
      {"WordIO", [&] { return s.get_WordIO(nullptr); }},
      {"Timeout", [&] { return s.get_Timeout(nullptr); }},
      {"ComPortNumber", [&] { return s.get_ComPortNumber(nullptr); }},
      {"ProjectName", [&] { return s.get_ProjectName(nullptr); }},
      {"BaudRate", [&] { return s.get_BaudRate(nullptr); }},
      {"DeviceType", [&] { return s.get_DeviceType(nullptr); }},
  });
  EXPECT_TRUE(scene.scripted->log.empty()) << "the driver was not asked: " << scene.scripted->log.front();
}

TEST_F(Boundary, ArgumentsOfCollectionsNeedAPlace) {
  scene.Configure("scripted.ini");
  const ComPtr<_KELDataGroups> groups = scene.Groups();
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100"});
  ComPtr<_KELDataItems> items;
  group->get_KELDataItems(items.Put());
  _KELDataGroups& g = *groups.Get();
  _KELDataItems& i = *items.Get();
  LONG one = 1;
  Text16 name("Group_1");
  Text16 id("WO102");
  ComPtr<_KELDataGroup> foundGroup;
  ComPtr<_KELDataItem> foundItem;
  ExpectRefused({
      {"groups.Parent", [&] { return g.get_Parent(nullptr); }},
      {"groups.Count", [&] { return g.get_Count(nullptr); }},
      {"groups.Item result", [&] { return g.Item(&one, nullptr); }},
      {"groups.Item", [&] { return g.Item(nullptr, foundGroup.Put()); }},
      {"groups.ItemByName result", [&] { return g.ItemByName(&name, nullptr); }},
      {"groups.ItemByName", [&] { return g.ItemByName(nullptr, foundGroup.Put()); }},
      {"groups.Add result", [&] { return g.Add(*Str("New"), nullptr); }},
      {"groups.Remove", [&] { return g.Remove(nullptr); }},
      {"groups.RemoveByName", [&] { return g.RemoveByName(nullptr); }},
      {"groups.NewEnum", [&] { return g.get_NewEnum(nullptr); }},
      {"items.Parent", [&] { return i.get_Parent(nullptr); }},
      {"items.Count", [&] { return i.get_Count(nullptr); }},
      {"items.Item result", [&] { return i.Item(&one, nullptr); }},
      {"items.Item", [&] { return i.Item(nullptr, foundItem.Put()); }},
      {"items.ItemByName result", [&] { return i.ItemByName(&name, nullptr); }},
      {"items.ItemByName", [&] { return i.ItemByName(nullptr, foundItem.Put()); }},
      {"items.Add result", [&] { return i.Add(&id, *Missing(), nullptr); }},
      {"items.Add", [&] { return i.Add(nullptr, *Missing(), foundItem.Put()); }},
      {"items.AddCompiled result", [&] { return i.AddCompiled(&id, nullptr); }},
      {"items.AddCompiled", [&] { return i.AddCompiled(nullptr, foundItem.Put()); }},
      {"items.Remove", [&] { return i.Remove(nullptr); }},
      {"items.RemoveByName", [&] { return i.RemoveByName(nullptr); }},
      {"items.NewEnum", [&] { return i.get_NewEnum(nullptr); }},
      {"tick", [&] { return groups.Query<_IExecuteTimerTick>()->Execute(nullptr); }},
  });
  LONG count = 0;
  EXPECT_EQ(g.get_Count(&count), S_OK);
  EXPECT_EQ(count, 1) << "no group was added or removed";
  EXPECT_EQ(i.get_Count(&count), S_OK);
  EXPECT_EQ(count, 1);
}

TEST_F(Boundary, ArgumentsOfAGroupNeedAPlace) {
  scene.Configure("scripted.ini");
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100"});
  scene.server->OpenCommunication();
  scene.scripted->log.clear();
  _KELDataGroup& g = *group.Get();
  Value handleArray = Array(VT_I4, 0, {I4(1)});
  Value valueArray = Array(VT_VARIANT, 0, {I2(1)});
  Value errorArray = Array(VT_I4, 0, {I4(0)});
  SAFEARRAY** handles = &handleArray->parray;
  SAFEARRAY** values = &valueArray->parray;
  SAFEARRAY** errors = &errorArray->parray;
  LONG id = 0;
  SAFEARRAY* result = nullptr;
  ExpectRefused({
      {"Handle", [&] { return g.get_Handle(nullptr); }},
      {"GroupName", [&] { return g.get_GroupName(nullptr); }},
      {"KELDataItems", [&] { return g.get_KELDataItems(nullptr); }},
      {"Parent", [&] { return g.get_Parent(nullptr); }},
      {"Active", [&] { return g.get_Active(nullptr); }},
      {"Subscribed", [&] { return g.get_Subscribed(nullptr); }},
      {"UpdateRate", [&] { return g.get_UpdateRate(nullptr); }},
      {"GroupId", [&] { return g.get_GroupId(nullptr); }},
      {"CompiledBuffer", [&] { return g.get_CompiledBuffer(nullptr); }},
      {"SetCompiledBufferDimension", [&] { return g.SetCompiledBufferDimension(nullptr); }},
      {"SyncRead 1", [&] { return g.SyncRead(nullptr, values, errors); }},
      {"SyncRead 2", [&] { return g.SyncRead(handles, nullptr, errors); }},
      {"SyncRead 3", [&] { return g.SyncRead(handles, values, nullptr); }},
      {"SyncReadAll 1", [&] { return g.SyncReadAll(nullptr, values, errors); }},
      {"SyncReadAll 2", [&] { return g.SyncReadAll(handles, nullptr, errors); }},
      {"SyncReadAll 3", [&] { return g.SyncReadAll(handles, values, nullptr); }},
      {"SyncWrite 1", [&] { return g.SyncWrite(nullptr, values, errors); }},
      {"SyncWrite 2", [&] { return g.SyncWrite(handles, nullptr, errors); }},
      {"SyncWrite 3", [&] { return g.SyncWrite(handles, values, nullptr); }},
      {"SyncWriteAll 3", [&] { return g.SyncWriteAll(handles, values, nullptr); }},
      {"AsyncRead 1", [&] { return g.AsyncRead(nullptr, &id); }},
      {"AsyncRead 2", [&] { return g.AsyncRead(handles, nullptr); }},
      {"AsyncReadAll", [&] { return g.AsyncReadAll(nullptr); }},
      {"AsyncWrite 1", [&] { return g.AsyncWrite(nullptr, values, &id); }},
      {"AsyncWrite 2", [&] { return g.AsyncWrite(handles, nullptr, &id); }},
      {"AsyncWrite 3", [&] { return g.AsyncWrite(handles, values, nullptr); }},
      {"AsyncWriteAll 3", [&] { return g.AsyncWriteAll(handles, values, nullptr); }},
      {"AsyncCancel", [&] { return g.AsyncCancel(nullptr); }},
      {"CompileVariable result", [&] { return g.CompileVariable(handles, nullptr); }},
      {"CompileVariable", [&] { return g.CompileVariable(nullptr, &result); }},
      {"GetDimension result", [&] { return g.GetDimension(handles, nullptr); }},
      {"GetDimension", [&] { return g.GetDimension(nullptr, &result); }},
  });
  scene.Advance(1s);
  EXPECT_TRUE(scene.scripted->log.empty()) << "nothing was queued: " << scene.scripted->log.front();
}

TEST_F(Boundary, ArgumentsOfItemsAndRequestsNeedAPlace) {
  scene.Configure("scripted.ini");
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100"});
  const ComPtr<_KELDataItem> item = scene.Item(group, 1);
  scene.server->OpenCommunication();
  const ComPtr<_DataRequests> spooler = scene.Spooler();
  const ComPtr<_DataRequest> request = Scene::NewRequest();
  _KELDataItem& i = *item.Get();
  _DataRequest& r = *request.Get();
  _DataRequests& q = *spooler.Get();
  Value value;
  LONG number = 0;
  _DataRequest* raw = request.Get();
  ExpectRefused({
      {"Handle", [&] { return i.get_Handle(nullptr); }},
      {"ItemName", [&] { return i.get_ItemName(nullptr); }},
      {"ItemId", [&] { return i.get_ItemId(nullptr); }},
      {"Parent", [&] { return i.get_Parent(nullptr); }},
      {"USERValue", [&] { return i.get_USERValue(nullptr); }},
      {"DATAValue", [&] { return i.get_DATAValue(nullptr); }},
      {"TimeStamp", [&] { return i.get_TimeStamp(nullptr); }},
      {"Signed", [&] { return i.get_Signed(nullptr); }},
      {"BCD", [&] { return i.get_BCD(nullptr); }},
      {"SyncRead 1", [&] { return i.SyncRead(nullptr, &number, Missing().Get()); }},
      {"SyncRead 2", [&] { return i.SyncRead(value.Get(), nullptr, Missing().Get()); }},
      {"SyncWrite 2", [&] { return i.SyncWrite(*I2(1), nullptr); }},
      {"PriorReq", [&] { return r.get_PriorReq(nullptr); }},
      {"RequestType", [&] { return r.get_RequestType(nullptr); }},
      {"Handles", [&] { return r.get_Handles(nullptr); }},
      {"DATAValues", [&] { return r.get_DATAValues(nullptr); }},
      {"SetHandles", [&] { return r.SetHandles(nullptr); }},
      {"SetDATAValues", [&] { return r.SetDATAValues(nullptr); }},
      {"SetErrors", [&] { return r.SetErrors(nullptr); }},
      {"SetBuffer", [&] { return r.SetBuffer(nullptr); }},
      {"GetDATAValues", [&] { return r.GetDATAValues(nullptr); }},
      {"AddRequest result", [&] { return q.AddRequest(&raw, nullptr); }},
      {"AddRequest", [&] { return q.AddRequest(nullptr, &number); }},
      {"AddDeliver", [&] { return q.AddDeliver(nullptr); }},
      {"DownloadFirmware", [&] { return q.DownloadFirmware(Text16("a"), nullptr); }},
      {"DownloadProject", [&] { return q.DownloadProject(Text16("a"), nullptr); }},
      {"AsyncCancel", [&] { return q.AsyncCancel(nullptr); }},
  });
  LONG id = 0;
  EXPECT_EQ(q.AddRequest(&raw, &id), S_OK);
  EXPECT_EQ(id, 1) << "none was queued before";
}

TEST_F(Boundary, TheOptionalTimeMayBeNull) {
  scene.Open();
  scene.server->CloseCommunication();
  const ComPtr<_KELDataItem> item = scene.Item(scene.AddGroup({"WO100"}), 1);
  scene.server->OpenCommunication();
  Value value;
  LONG error = 5;
  EXPECT_EQ(item->SyncRead(value.Get(), &error, nullptr), S_OK);
  EXPECT_EQ(error, 0);
}

TEST_F(Boundary, ResultsAreClearedBeforeACallFails) {
  scene.server = Scene::NewServer();  // without a driver every question fails
  _KELDataServer& s = *scene.server.Get();
  short small = 77;
  LONG number = 77;
  float single = 77;
  BSTR text = reinterpret_cast<BSTR>(&s);
  EXPECT_TRUE(FAILED(s.get_MinorVersion(&small)));
  EXPECT_EQ(small, 0);
  EXPECT_TRUE(FAILED(s.get_BaudRate(&number)));
  EXPECT_EQ(number, 0);
  EXPECT_TRUE(FAILED(s.get_BootVersion(&single)));
  EXPECT_EQ(single, 0);
  EXPECT_TRUE(FAILED(s.get_BootDate(&text)));
  EXPECT_EQ(text, nullptr);
  auto* group = reinterpret_cast<_KELDataGroup*>(&s);
  LONG handle = 9;
  EXPECT_TRUE(FAILED(scene.Groups()->Item(&handle, &group)));
  EXPECT_EQ(group, nullptr);
  EXPECT_EQ(handle, 9) << "an argument that only goes in stays";
}

TEST_F(Boundary, AFailedCallByNameLeavesNoResult) {
  scene.server = Scene::NewServer();
  VARIANT result;
  VariantInit(&result);
  result.vt = VT_I4;
  result.lVal = 77;
  DISPPARAMS none{};
  // A caller that wants no details gets none, and no harm is done.
  EXPECT_EQ(scene.server->Invoke(19, IID_NULL, 0, Get, &none, &result, nullptr, nullptr), DISP_E_EXCEPTION);
  EXPECT_EQ(result.vt, VT_EMPTY);
  EXPECT_EQ(scene.server->Invoke(11, IID_NULL, 0, Get, &none, nullptr, nullptr, nullptr), S_OK);
  EXPECT_EQ(scene.server->Invoke(11, IID_NULL, 0, Get, nullptr, &result, nullptr, nullptr), S_OK);
  EXPECT_EQ(Text(result), "I4:1");
}

TEST_F(Boundary, EmptyAndNullTextsAreTheSame) {
  scene.Configure();
  BSTR null = nullptr;
  const ComPtr<_KELDataGroups> groups = scene.Groups();
  ComPtr<_KELDataGroup> group;
  EXPECT_EQ(SlotText(groups->ItemByName(&null, group.Put())),
            "80040007 \"Invalid Name: \" ORVOBusiness.KELDataGroups");
  EXPECT_EQ(SlotText(scene.server->put_ProjectName(nullptr)), "Empty");
  EXPECT_EQ(Invoke(scene.server.Get(), L"ProjectName", Get).text, "Str:\"\"");
}

}  // namespace
}  // namespace orvo::testing
