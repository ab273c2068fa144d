// Who is who: the rules of QueryInterface, one pointer per object, type and class information.

#include "IORVOBusiness_h.h"
#include "boundary/Calls.h"
#include "boundary/Scene.h"

#include <algorithm>

namespace orvo::testing {
namespace {

// One object of each public class, and what it offers.
struct Specimen {
  const char* name;
  ComPtr<IDispatch> object;
  IID own;
  CLSID classId;
  IID source;               // GUID_NULL without events
  std::vector<IID> offers;  // beside the interfaces that all offer
};

std::vector<Specimen> Specimens(Scene& scene) {
  scene.Configure("scripted.ini");
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100"});
  ComPtr<_KELDataItems> items;
  group->get_KELDataItems(items.Put());
  const auto as = [](const auto& object) { return ComPtr<IDispatch>(Dispatch(object)); };
  return {
      {"server", as(scene.server), __uuidof(_KELDataServer), CLSID_KELDataServer, DIID___KELDataServer, {}},
      {"groups",
       as(scene.Groups()),
       __uuidof(_KELDataGroups),
       CLSID_KELDataGroups,
       GUID_NULL,
       {__uuidof(_IExecuteTimerTick)}},
      {"group", as(group), __uuidof(_KELDataGroup), CLSID_KELDataGroup, DIID___KELDataGroup, {}},
      {"items", as(items), __uuidof(_KELDataItems), CLSID_KELDataItems, GUID_NULL, {}},
      {"item", as(scene.Item(group, 1)), __uuidof(_KELDataItem), CLSID_KELDataItem, GUID_NULL, {}},
      {"request", as(Scene::NewRequest()), __uuidof(_DataRequest), CLSID_DataRequest, GUID_NULL, {}},
      {"spooler",
       as(scene.Spooler()),
       __uuidof(_DataRequests),
       CLSID_DataRequests,
       DIID___DataRequests,
       {__uuidof(::IEventNotify)}},
  };
}

// Everything that the object offers.
std::vector<IID> Offers(const Specimen& specimen) {
  std::vector<IID> offers{
      __uuidof(IUnknown),          __uuidof(IDispatch),         specimen.own,
      __uuidof(ISupportErrorInfo), __uuidof(IProvideClassInfo), __uuidof(IProvideClassInfo2)};
  if (specimen.source != GUID_NULL) offers.push_back(__uuidof(IConnectionPointContainer));
  offers.insert(offers.end(), specimen.offers.begin(), specimen.offers.end());
  return offers;
}

ULONG References(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

void CheckQueries(const Specimen& specimen) {
  SCOPED_TRACE(specimen.name);
  const ULONG before = References(specimen.object.Get());
  {
    ComPtr<IUnknown> identity;
    ASSERT_EQ(specimen.object->QueryInterface(__uuidof(IUnknown), identity.PutVoid()), S_OK);
    for (const IID& from : Offers(specimen)) {
      ComPtr<IUnknown> face;
      ASSERT_EQ(specimen.object->QueryInterface(from, face.PutVoid()), S_OK);
      ComPtr<IUnknown> same;
      EXPECT_EQ(face->QueryInterface(__uuidof(IUnknown), same.PutVoid()), S_OK);
      EXPECT_EQ(same.Get(), identity.Get()) << "one identity";
      for (const IID& to : Offers(specimen)) {
        ComPtr<IUnknown> other;
        EXPECT_EQ(face->QueryInterface(to, other.PutVoid()), S_OK) << "from each to each";
        ComPtr<IUnknown> back;
        EXPECT_EQ(other->QueryInterface(from, back.PutVoid()), S_OK) << "and back";
      }
      void* nothing = &same;
      EXPECT_EQ(face->QueryInterface(__uuidof(IPersistFile), &nothing), E_NOINTERFACE);
      EXPECT_EQ(nothing, nullptr);
      EXPECT_EQ(face->QueryInterface(__uuidof(IUnknown), nullptr), E_POINTER);
    }
  }
  EXPECT_EQ(References(specimen.object.Get()), before) << "each reference was given back";
}

TEST_F(Boundary, EveryInterfaceLeadsToEveryOther) {
  for (const Specimen& specimen : Specimens(scene))
    CheckQueries(specimen);
}

TEST_F(Boundary, OnlySourcesOfEventsHaveConnectionPoints) {
  for (const Specimen& specimen : Specimens(scene)) {
    SCOPED_TRACE(specimen.name);
    EXPECT_EQ(static_cast<bool>(specimen.object.Query<IConnectionPointContainer>()),
              specimen.source != GUID_NULL);
  }
}

TEST_F(Boundary, ClassInformationNamesClassAndEvents) {
  for (const Specimen& specimen : Specimens(scene)) {
    SCOPED_TRACE(specimen.name);
    const auto info = specimen.object.Query<IProvideClassInfo2>();
    ComPtr<ITypeInfo> type;
    ASSERT_EQ(info->GetClassInfo(type.Put()), S_OK);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(type->GetTypeAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->typekind, TKIND_COCLASS);
    EXPECT_EQ(attributes->guid, specimen.classId);
    type->ReleaseTypeAttr(attributes);
    EXPECT_EQ(info->GetClassInfo(nullptr), E_POINTER);

    GUID source = specimen.own;
    const HRESULT found = info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &source);
    EXPECT_TRUE(specimen.source == GUID_NULL || found == S_OK);
    EXPECT_EQ(source, specimen.source);
    EXPECT_EQ(info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, nullptr), E_POINTER);
    EXPECT_EQ(info->GetGUID(99, &source), E_INVALIDARG);
  }
}

TEST_F(Boundary, TypeInformationDescribesTheOwnInterface) {
  for (const Specimen& specimen : Specimens(scene)) {
    SCOPED_TRACE(specimen.name);
    UINT count = 0;
    EXPECT_EQ(specimen.object->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    ComPtr<ITypeInfo> type;
    ASSERT_EQ(specimen.object->GetTypeInfo(0, LOCALE_USER_DEFAULT, type.Put()), S_OK);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(type->GetTypeAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->guid, specimen.own);
    EXPECT_EQ(attributes->typekind, TKIND_DISPATCH);
    EXPECT_NE(attributes->wTypeFlags & TYPEFLAG_FDUAL, 0);
    type->ReleaseTypeAttr(attributes);
    EXPECT_EQ(specimen.object->GetTypeInfo(1, LOCALE_USER_DEFAULT, type.Put()), DISP_E_BADINDEX);
    EXPECT_EQ(specimen.object->GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr), E_POINTER);
    EXPECT_EQ(specimen.object->GetTypeInfoCount(nullptr), E_POINTER);
  }
}

TEST_F(Boundary, ErrorInformationIsPromisedForTheOwnInterface) {
  for (const Specimen& specimen : Specimens(scene)) {
    SCOPED_TRACE(specimen.name);
    const auto support = specimen.object.Query<ISupportErrorInfo>();
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(specimen.own), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(IPersistFile)), S_FALSE);
    for (const IID& offered : specimen.offers)
      EXPECT_EQ(support->InterfaceSupportsErrorInfo(offered), S_OK) << "its failures carry a text as well";
  }
}

TEST_F(Boundary, NamesAreFoundInAnyCase) {
  for (const Specimen& specimen : Specimens(scene)) {
    SCOPED_TRACE(specimen.name);
    LPOLESTR unknown = const_cast<LPOLESTR>(L"NoSuchMember");
    DISPID id = 5;
    EXPECT_EQ(specimen.object->GetIDsOfNames(IID_NULL, &unknown, 1, 0, &id), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(id, DISPID_UNKNOWN);
    EXPECT_EQ(specimen.object->GetIDsOfNames(__uuidof(IUnknown), &unknown, 1, 0, &id), DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(Invoke(specimen.object.Get(), 4711, Method).text, Hex(DISP_E_MEMBERNOTFOUND));
    EXPECT_EQ(specimen.object->Invoke(1, __uuidof(IUnknown), 0, Get, nullptr, nullptr, nullptr, nullptr),
              DISP_E_UNKNOWNINTERFACE);
  }
  EXPECT_EQ(IdOf(scene.server.Get(), L"SERVERSTATUS"), 11);
  EXPECT_EQ(IdOf(scene.server.Get(), L"serverstatus"), 11);
  LPOLESTR names[] = {const_cast<LPOLESTR>(L"LoadConfigurationFromFile"),
                      const_cast<LPOLESTR>(L"bIgnoreErrors"), const_cast<LPOLESTR>(L"FileName")};
  DISPID ids[3]{};
  EXPECT_EQ(scene.server->GetIDsOfNames(IID_NULL, names, 3, 0, ids), S_OK);
  EXPECT_EQ(ids[0], 21);
  EXPECT_EQ(ids[1], 1);
  EXPECT_EQ(ids[2], 0);
}

TEST_F(Boundary, TheTickFaceAnswersByItsOwnNames) {
  scene.Configure();
  const auto tick = scene.Groups().Query<_IExecuteTimerTick>();
  EXPECT_EQ(IdOf(tick.Get(), L"Execute"), 1);
  EXPECT_EQ(Invoke(tick.Get(), L"Execute", Method, {I4(5)}).text, "Empty");
  LPOLESTR add = const_cast<LPOLESTR>(L"Add");
  DISPID id = 0;
  EXPECT_EQ(tick->GetIDsOfNames(IID_NULL, &add, 1, 0, &id), DISP_E_UNKNOWNNAME);
  ComPtr<ITypeInfo> type;
  ASSERT_EQ(tick->GetTypeInfo(0, 0, type.Put()), S_OK);
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(type->GetTypeAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->guid, __uuidof(_IExecuteTimerTick));
  type->ReleaseTypeAttr(attributes);
}

TEST_F(Boundary, TheSameObjectIsTheSamePointer) {
  scene.Configure();
  const ComPtr<_KELDataGroups> groups = scene.Groups();
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100"}, "Line");
  EXPECT_EQ(scene.Groups().Get(), groups.Get());
  LONG handle = 1;
  ComPtr<_KELDataGroup> found;
  groups->Item(&handle, found.Put());
  EXPECT_EQ(found.Get(), group.Get());
  groups->ItemByName(&Text16("Line"), found.Put());
  EXPECT_EQ(found.Get(), group.Get());
  EXPECT_EQ(Invoke(groups.Get(), DefaultMember, Method, {I4(1)}).value->pdispVal, Dispatch(group));

  ComPtr<_KELDataItems> items;
  group->get_KELDataItems(items.Put());
  const ComPtr<_KELDataItem> item = scene.Item(group, 1);
  EXPECT_EQ(scene.Item(group, 1).Get(), item.Get());
  ComPtr<_KELDataGroup> parent;
  item->get_Parent(parent.Put());
  EXPECT_EQ(parent.Get(), group.Get());
  items->get_Parent(parent.Put());
  EXPECT_EQ(parent.Get(), group.Get());
  ComPtr<_KELDataServer> server;
  group->get_Parent(server.Put());
  EXPECT_EQ(server.Get(), scene.server.Get());
  groups->get_Parent(server.Put());
  EXPECT_EQ(server.Get(), scene.server.Get());
}

TEST_F(Boundary, ManyRoundsLeaveNoReferenceBehind) {
  scene.Configure();
  scene.AddGroup({"WO100"});
  const ULONG before = References(scene.server.Get());
  const std::int64_t alive = scene.ObjectsAlive();
  for (int round = 0; round < 50; ++round) {
    Reply groups = Invoke(scene.server.Get(), L"KELDataGroups", Get);
    Reply group = Invoke(groups.value->pdispVal, DefaultMember, Method, {I4(1)});
    Reply parent = Invoke(group.value->pdispVal, L"Parent", Get);
    EXPECT_EQ(parent.value->pdispVal, Dispatch(scene.server));
    Invoke(groups.value->pdispVal, DefaultMember, Method, {I4(9)});
  }
  EXPECT_EQ(References(scene.server.Get()), before);
  EXPECT_EQ(scene.ObjectsAlive(), alive);
}

}  // namespace
}  // namespace orvo::testing
