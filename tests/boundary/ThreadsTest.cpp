// Threads: an object belongs to the thread on which it was made.

#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "boundary/TestSink.h"
#include "com/Bstr.h"

#include <functional>
#include <thread>

namespace orvo::testing {
namespace {

// Runs `work` on another thread, to its end.
void Elsewhere(const std::function<void()>& work) {
  std::thread([&] {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    work();
    SetErrorInfo(0, nullptr);
    CoUninitialize();
  }).join();
}

// Every member of an object's own interface, called through its type information with zeroed arguments.
void ExpectWrongThread(IDispatch* object, const char* name) {
  SCOPED_TRACE(name);
  ComPtr<ITypeInfo> type;
  // The thread that owns the object reads its type information for the other one.
  ASSERT_EQ(object->GetTypeInfo(0, 0, type.Put()), S_OK);
  ComPtr<ITypeInfo> dual;
  HREFTYPE reference = 0;
  ASSERT_EQ(type->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
  ASSERT_EQ(type->GetRefTypeInfo(reference, dual.Put()), S_OK);
  struct Function {
    ULONG_PTR offset;
    std::vector<VARTYPE> types;
    std::string name;
  };
  std::vector<Function> functions;
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(dual->GetTypeAttr(&attributes), S_OK);
  for (UINT k = 0; k < attributes->cFuncs; ++k) {
    FUNCDESC* function = nullptr;
    ASSERT_EQ(dual->GetFuncDesc(k, &function), S_OK);
    std::vector<VARTYPE> types;
    for (SHORT p = 0; p < function->cParams; ++p) {
      const TYPEDESC& parameter = function->lprgelemdescParam[p].tdesc;
      types.push_back(parameter.vt == VT_PTR || parameter.vt == VT_USERDEFINED ? VARTYPE{VT_BYREF | VT_VARIANT}
                                                                               : parameter.vt);
    }
    com::Bstr text;
    dual->GetDocumentation(function->memid, text.Put(), nullptr, nullptr, nullptr);
    functions.push_back({static_cast<ULONG_PTR>(function->oVft), types, text.Text()});
    dual->ReleaseFuncDesc(function);
  }
  dual->ReleaseTypeAttr(attributes);
  EXPECT_FALSE(functions.empty());
  Elsewhere([&] {
    for (const Function& function : functions) {
      // Room for any argument by reference, and empty arguments by value.
      std::vector<Value> room(function.types.size());
      std::vector<VARIANT> values(function.types.size());
      std::vector<VARIANT*> arguments;
      for (std::size_t k = 0; k < values.size(); ++k) {
        VariantInit(&values[k]);
        values[k].llVal = 0;
        values[k].vt = function.types[k];
        if (function.types[k] == (VT_BYREF | VT_VARIANT)) values[k].pvarVal = room[k].Get();
        arguments.push_back(&values[k]);
      }
      std::vector<VARTYPE> types = function.types;
      VARIANT answer;
      VariantInit(&answer);
      const HRESULT called =
          DispCallFunc(object, function.offset, CC_STDCALL, VT_I4, static_cast<UINT>(types.size()),
                       types.data(), arguments.data(), &answer);
      EXPECT_EQ(called, S_OK) << function.name;
      EXPECT_EQ(Hex(answer.lVal), Hex(RPC_E_WRONG_THREAD)) << function.name;
      for (Value& place : room)
        place->vt = VT_EMPTY;
    }
    EXPECT_EQ(Invoke(object, 1, static_cast<WORD>(Get | Method)).result, RPC_E_WRONG_THREAD);
    ComPtr<ITypeInfo> info;
    EXPECT_EQ(object->GetTypeInfo(0, 0, info.Put()), RPC_E_WRONG_THREAD);
  });
}

TEST_F(Boundary, EveryMemberRefusesAnotherThread) {
  scene.Configure("scripted.ini");
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100"});
  const ComPtr<_KELDataItem> item = scene.Item(group, 1);
  ComPtr<_KELDataItems> items;
  group->get_KELDataItems(items.Put());
  const ComPtr<_KELDataGroups> groups = scene.Groups();
  const ComPtr<_DataRequests> spooler = scene.Spooler();
  const ComPtr<_DataRequest> record = Scene::NewRequest();
  scene.scripted->log.clear();
  ExpectWrongThread(scene.server.Get(), "server");
  ExpectWrongThread(groups.Get(), "groups");
  ExpectWrongThread(group.Get(), "group");
  ExpectWrongThread(items.Get(), "items");
  ExpectWrongThread(item.Get(), "item");
  ExpectWrongThread(spooler.Get(), "spooler");
  ExpectWrongThread(record.Get(), "request");
  const auto tick = groups.Query<_IExecuteTimerTick>();
  ExpectWrongThread(tick.Get(), "tick");
  EXPECT_TRUE(scene.scripted->log.empty());
  LONG count = 0;
  groups->get_Count(&count);
  EXPECT_EQ(count, 1);
}

TEST_F(Boundary, OtherInterfacesRefuseAnotherThread) {
  scene.Configure();
  const ComPtr<_KELDataGroup> group = scene.AddGroup();
  TestSink sink{DIID___KELDataGroup};
  const ComPtr<IConnectionPoint> point = PointOf(group.Get(), DIID___KELDataGroup);
  const auto container = group.Query<IConnectionPointContainer>();
  ComPtr<IUnknown> made;
  scene.Groups()->get_NewEnum(made.Put());
  const auto enumerator = made.Query<IEnumVARIANT>();
  const auto information = group.Query<IProvideClassInfo2>();
  Elsewhere([&] {
    DWORD cookie = 0;
    EXPECT_EQ(point->Advise(sink.Face(), &cookie), RPC_E_WRONG_THREAD);
    EXPECT_EQ(point->Unadvise(1), RPC_E_WRONG_THREAD);
    ComPtr<IEnumConnections> connections;
    EXPECT_EQ(point->EnumConnections(connections.Put()), RPC_E_WRONG_THREAD);
    ComPtr<IConnectionPoint> found;
    EXPECT_EQ(container->FindConnectionPoint(DIID___KELDataGroup, found.Put()), RPC_E_WRONG_THREAD);
    Value element;
    EXPECT_EQ(enumerator->Next(1, element.Get(), nullptr), RPC_E_WRONG_THREAD);
    EXPECT_EQ(enumerator->Skip(1), RPC_E_WRONG_THREAD);
    EXPECT_EQ(enumerator->Reset(), RPC_E_WRONG_THREAD);
    ComPtr<IEnumVARIANT> copy;
    EXPECT_EQ(enumerator->Clone(copy.Put()), RPC_E_WRONG_THREAD);
    ComPtr<ITypeInfo> type;
    EXPECT_EQ(information->GetClassInfo(type.Put()), RPC_E_WRONG_THREAD);
  });
  EXPECT_EQ(sink.References(), 0U);
}

TEST_F(Boundary, TheLastReferenceMayGoOnAnotherThread) {
  scene.Configure();
  scene.AddGroup({"WO100"});
  _KELDataServer* const server = scene.server.Detach();
  Elsewhere([&] { server->Release(); });
  EXPECT_NE(AutomationObject::LiveCount(), 0) << "not there";
  // The object ends on its own thread, with the next messages.
  scene.Advance(1ms);
  EXPECT_EQ(AutomationObject::LiveCount(), 0);
  EXPECT_EQ(scene.ObjectsAlive(), 0);
}

TEST_F(Boundary, ReferencesAreCountedOnEveryThread) {
  scene.Configure();
  Elsewhere([&] {
    for (int k = 0; k < 1000; ++k)
      scene.server->AddRef();
    ComPtr<IUnknown> identity;
    EXPECT_EQ(scene.server->QueryInterface(__uuidof(IUnknown), identity.PutVoid()), S_OK);
    for (int k = 0; k < 1000; ++k)
      scene.server->Release();
  });
  LONG status = 0;
  EXPECT_EQ(scene.server->get_ServerStatus(&status), S_OK);
  EXPECT_EQ(status, 2);
}

TEST_F(Boundary, ASecondThreadHasAServerOfItsOwn) {
  scene.Open();
  Elsewhere([&] {
    const ComPtr<_KELDataServer> own = Scene::NewServer();
    LONG status = 0;
    EXPECT_EQ(own->get_ServerStatus(&status), S_OK);
    EXPECT_EQ(status, 1) << "not the other thread's";
    EXPECT_EQ(own->SetDriverConfigurationFile(Text16("panel.ini")), S_OK);
    EXPECT_EQ(own->put_DeviceType(2), S_OK);
    Reply groups = Invoke(own.Get(), L"KELDataGroups", Get);
    Reply group = Invoke(groups.value->pdispVal, L"Add", Method);
    Reply items = Invoke(group.value->pdispVal, L"KELDataItems", Get);
    Reply item = Invoke(items.value->pdispVal, L"Add", Method, {Str("WO100")});
    EXPECT_EQ(item.text, "Object");
    EXPECT_EQ(own->OpenCommunication(), S_OK);
    Value value;
    Value error;
    EXPECT_EQ(Invoke(item.value->pdispVal, L"SyncWrite", Method, {I2(42), Ref(error)}).text, "Empty");
    EXPECT_EQ(Invoke(item.value->pdispVal, L"SyncRead", Method, {Ref(value), Ref(error)}).text, "Empty");
    EXPECT_EQ(Text(value) + " " + Text(error), "I2:42 I4:0");
  });
  LONG status = 0;
  EXPECT_EQ(scene.server->get_ServerStatus(&status), S_OK);
  EXPECT_EQ(status, 3);
}

TEST_F(Boundary, AnotherThreadsObjectIsNoArgument) {
  scene.Configure();
  const ComPtr<_KELDataGroup> group = scene.AddGroup();
  Elsewhere([&] {
    const ComPtr<_DataRequest> record = Scene::NewRequest();
    EXPECT_TRUE(FAILED(record->putref_ReqGroup(group.Get()))) << "its counts are not made for two threads";
  });
}

}  // namespace
}  // namespace orvo::testing
