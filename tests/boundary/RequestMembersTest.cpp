// DataRequest and DataRequests: each member by slot and by name.

#include "IORVOBusiness_h.h"
#include "boundary/MemberTable.h"

namespace orvo::testing {
namespace {

using Request = _DataRequest;
using Spooler = _DataRequests;

ComPtr<Request> Fresh(Scene&) {
  return Scene::NewRequest();
}
ComPtr<Spooler> Configured(Scene& scene) {
  scene.Configure("scripted.ini");
  return scene.Spooler();
}

template <class Put>
Row<Request> Change(const wchar_t* name, Put put, const Value& value) {
  return {name, Set, {value}, put, "Empty"};
}

TEST(RequestMembers, OfAFreshRecord) {
  CheckMembers<Request>(
      {
          {L"PriorReq",
           Get,
           {},
           [](Request& r, Slot& a) { return r.get_PriorReq(a.Object<Request>()); },
           "Nothing"},
          {L"NextReq",
           Get,
           {},
           [](Request& r, Slot& a) { return r.get_NextReq(a.Object<Request>()); },
           "Nothing"},
          {L"RequestType", Get, {}, [](Request& r, Slot& a) { return r.get_RequestType(a.Kind()); }, "I4:0"},
          {L"ReqGroup",
           Get,
           {},
           [](Request& r, Slot& a) { return r.get_ReqGroup(a.Object<_KELDataGroup>()); },
           "Nothing"},
          {L"ReqItem",
           Get,
           {},
           [](Request& r, Slot& a) { return r.get_ReqItem(a.Object<_KELDataItem>()); },
           "Nothing"},
          {L"TransactionId", Get, {}, [](Request& r, Slot& a) { return r.get_TransactionId(a.I4()); }, "I4:0"},
          {L"TickSent", Get, {}, [](Request& r, Slot& a) { return r.get_TickSent(a.I4()); }, "I4:0"},
          {L"Error", Get, {}, [](Request& r, Slot& a) { return r.get_Error(a.I4()); }, "I4:0"},
          {L"Handles", Get, {}, [](Request& r, Slot& a) { return r.get_Handles(a.Array(VT_I4)); }, "I4[0:]"},
          {L"DATAValues",
           Get,
           {},
           [](Request& r, Slot& a) { return r.get_DATAValues(a.Array(VT_VARIANT)); },
           "Variant[0:]"},
          {L"Errors", Get, {}, [](Request& r, Slot& a) { return r.get_Errors(a.Array(VT_I4)); }, "I4[0:]"},
          {L"Buffer", Get, {}, [](Request& r, Slot& a) { return r.get_Buffer(a.Array(VT_UI1)); }, "UI1[0:]"},
          Change(
              L"RequestType", [](Request& r, Slot&) { return r.put_RequestType(::RT_ReadItemSync); }, I4(6)),
          Change(
              L"RequestType", [](Request& r, Slot&) { return r.put_RequestType(static_cast<::ReqType>(8)); },
              I4(8)),
          Change(
              L"TransactionId", [](Request& r, Slot&) { return r.put_TransactionId(-5); }, I4(-5)),
          Change(
              L"TickSent", [](Request& r, Slot&) { return r.put_TickSent(9); }, I4(9)),
          Change(
              L"Error", [](Request& r, Slot&) { return r.put_Error(99); }, I4(99)),
          {L"SetHandles",
           Method,
           {Array(VT_I4, 1, {I4(4)})},
           [](Request& r, Slot& a) { return r.SetHandles(a.Elements(0)); },
           "Empty"},
          {L"SetDATAValues",
           Method,
           {Array(VT_VARIANT, 0, {Str("x")})},
           [](Request& r, Slot& a) { return r.SetDATAValues(a.Elements(0)); },
           "Empty"},
          {L"SetErrors",
           Method,
           {Array(VT_I4, 0, {I4(4)})},
           [](Request& r, Slot& a) { return r.SetErrors(a.Elements(0)); },
           "Empty"},
          {L"SetBuffer",
           Method,
           {Array(VT_UI1, 0, {I2(4)})},
           [](Request& r, Slot& a) { return r.SetBuffer(a.Elements(0)); },
           "Empty"},
          {L"GetDATAValues",
           Method,
           {Array(VT_VARIANT, 0, {I2(1), I2(2)})},
           [](Request& r, Slot& a) { return r.GetDATAValues(a.Elements(0)); },
           "Empty | Variant[0:]",
           {0}},
      },
      Fresh);
}

TEST_F(Boundary, ARecordKeepsWhatWasPut) {
  const ComPtr<Request> record = Scene::NewRequest();
  const ComPtr<Request> other = Scene::NewRequest();
  Invoke(record.Get(), L"RequestType", Set, {I4(123456)});
  Invoke(record.Get(), L"TransactionId", Set, {I4(7)});
  record->put_TickSent(-1);
  record->put_Error(99);
  EXPECT_EQ(record->putref_PriorReq(other.Get()), S_OK);
  EXPECT_EQ(Invoke(record.Get(), L"NextReq", SetObject, {Object(other.Get())}).text, "Empty");
  ::ReqType kind{};
  EXPECT_EQ(record->get_RequestType(&kind), S_OK);
  EXPECT_EQ(static_cast<int>(kind), 123456);
  EXPECT_EQ(Invoke(record.Get(), L"TransactionId", Get).text, "I4:7");
  EXPECT_EQ(Invoke(record.Get(), L"TickSent", Get).text, "I4:-1");
  EXPECT_EQ(Invoke(record.Get(), L"Error", Get).text, "I4:99");
  ComPtr<Request> prior;
  EXPECT_EQ(record->get_PriorReq(prior.Put()), S_OK);
  EXPECT_EQ(prior.Get(), other.Get());
  EXPECT_EQ(Invoke(record.Get(), L"NextReq", Get).value->pdispVal, other.Get());
  // Nothing is a reference too.
  EXPECT_EQ(record->putref_PriorReq(nullptr), S_OK);
  EXPECT_EQ(Invoke(record.Get(), L"NextReq", SetObject, {Object(nullptr)}).text, "Empty");
  EXPECT_EQ(Invoke(record.Get(), L"PriorReq", Get).text, "Nothing");
  EXPECT_EQ(Invoke(record.Get(), L"NextReq", Get).text, "Nothing");
}

TEST_F(Boundary, ARecordKnowsItsGroupAndItem) {
  scene.Configure();
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100"});
  const ComPtr<_KELDataItem> item = scene.Item(group, 1);
  const ComPtr<Request> record = Scene::NewRequest();
  EXPECT_EQ(record->putref_ReqGroup(group.Get()), S_OK);
  EXPECT_EQ(Invoke(record.Get(), L"ReqItem", SetObject, {Object(item.Get())}).text, "Empty");
  EXPECT_EQ(Invoke(record.Get(), L"ReqGroup", Get).value->pdispVal, group.Get());
  ComPtr<_KELDataItem> found;
  EXPECT_EQ(record->get_ReqItem(found.Put()), S_OK);
  EXPECT_EQ(found.Get(), item.Get());
  // Objects of another class are refused, and the record stays as it was.
  const std::string mismatch = Invoke(record.Get(), L"ReqGroup", SetObject, {Object(item.Get())}).text;
  EXPECT_TRUE(mismatch.starts_with("800A000D") || mismatch.starts_with("80020005")) << mismatch;
  EXPECT_EQ(Invoke(record.Get(), L"ReqGroup", Get).value->pdispVal, group.Get());
  record->putref_ReqItem(nullptr);
  record->putref_ReqGroup(nullptr);
}

TEST_F(Boundary, ARecordSharesNoArrayWithItsCaller) {
  const ComPtr<Request> record = Scene::NewRequest();
  Value handles = Array(VT_I4, 3, {I4(4), I4(5)});
  EXPECT_EQ(record->SetHandles(&handles->parray), S_OK);
  LONG index = 3;
  LONG changed = 40;
  SafeArrayPutElement(handles->parray, &index, &changed);
  Value first;
  first->vt = VT_ARRAY | VT_I4;
  EXPECT_EQ(record->get_Handles(&first->parray), S_OK);
  EXPECT_EQ(Text(first), "I4[3: 4, 5]") << "bounds and elements as they were given";
  SafeArrayPutElement(first->parray, &index, &changed);
  EXPECT_EQ(Invoke(record.Get(), L"Handles", Get).text, "Variant[3: I4:4, I4:5]");

  Value values = Array(VT_VARIANT, 0, {Str("x"), Array(VT_UI1, 0, {I2(1), I2(255)}), Null(), R8(1.5)});
  EXPECT_EQ(record->SetDATAValues(&values->parray), S_OK);
  // By name every array inside is indexable too.
  EXPECT_EQ(Invoke(record.Get(), L"DATAValues", Get).text,
            "Variant[0: Str:\"x\", Variant[0: UI1:1, UI1:255], Null, R8:1.5]");
  Value given = Array(VT_VARIANT, 0, {I2(1)});
  EXPECT_EQ(record->GetDATAValues(&given->parray), S_OK);
  EXPECT_EQ(Text(given), Text(values));
}

TEST(SpoolerMembers, AnswerTheSameBySlotAndByName) {
  CheckMembers<Spooler>(
      {
          {L"StartSpooler", Method, {}, [](Spooler& s, Slot&) { return s.StartSpooler(); }, "Empty"},
          {L"StopSpooler", Method, {}, [](Spooler& s, Slot&) { return s.StopSpooler(); }, "Empty"},
          {L"Clear", Method, {}, [](Spooler& s, Slot&) { return s.Clear(); }, "Empty"},
          {L"ProcessNext", Method, {}, [](Spooler& s, Slot&) { return s.ProcessNext(); }, "Empty"},
          {L"DeliverNext", Method, {}, [](Spooler& s, Slot&) { return s.DeliverNext(); }, "Empty"},
          {L"DownloadFirmware",
           Method,
           {Str("a.fw")},
           [](Spooler& s, Slot& a) { return s.DownloadFirmware(*a.Name(0), a.Flag()); },
           "Bool:True"},
          {L"DownloadProject",
           Method,
           {Str("a.obj")},
           [](Spooler& s, Slot& a) { return s.DownloadProject(*a.Name(0), a.Flag()); },
           "Bool:True"},
          {L"DownloadProject",
           Method,
           {Str("a.obj")},
           [](Spooler& s, Slot& a) { return s.DownloadProject(*a.Name(0), a.Flag()); },
           "Bool:False",
           {},
           [](Scene& scene) { scene.scripted->Fail("DownloadProject", 4, "line"); }},
          {L"AsyncCancel",
           Method,
           {I4(5)},
           [](Spooler& s, Slot& a) { return s.AsyncCancel(a.Long(0)); },
           "Empty"},
      },
      Configured);
}

TEST_F(Boundary, TheSpoolerNumbersWhatItQueues) {
  const ComPtr<Spooler> spooler = Configured(scene);
  const auto queue = [&](bool byName) {
    const ComPtr<Request> record = Scene::NewRequest();
    record->put_RequestType(::RT_ReadGroupItemsAsync);
    if (byName) {
      Value variable = Object(record.Get());
      return Invoke(spooler.Get(), L"AddRequest", Method, {TypedRef(variable)}).text;
    }
    _DataRequest* raw = record.Get();
    Slot slot({});
    const HRESULT result = spooler->AddRequest(&raw, slot.I4());
    EXPECT_EQ(raw, record.Get());
    return SlotText(result, slot.Result());
  };
  EXPECT_EQ(queue(false), "I4:1");
  EXPECT_EQ(queue(true), "I4:2");
  EXPECT_EQ(queue(false), "I4:3");
  EXPECT_EQ(Invoke(spooler.Get(), L"Clear", Method).text, "Empty");
  // Nothing is no request.
  _DataRequest* nothing = nullptr;
  LONG id = 77;
  EXPECT_EQ(spooler->AddRequest(&nothing, &id), S_OK);
  EXPECT_EQ(id, 0);
}

TEST_F(Boundary, TheDriversSinkIsTheSpooler) {
  const ComPtr<Spooler> spooler = Configured(scene);
  const auto sink = spooler.Query<::IEventNotify>();
  ASSERT_TRUE(sink);
  EXPECT_EQ(sink.Query<Spooler>().Get(), spooler.Get());
  EXPECT_EQ(sink.Query<IUnknown>().Get(), spooler.Query<IUnknown>().Get());
  // Without a request in flight a completion fails back to the driver.
  Value errors = Array(VT_I4, 0, {I4(0)});
  EXPECT_EQ(SlotText(sink->AsyncWriteComplete(&errors->parray)).substr(0, 8), "800A005B");
  short percent = 40;
  EXPECT_EQ(sink->DownloadFirmwareInProgress(&percent), S_OK);
  EXPECT_EQ(sink->DownloadFirmwareComplete(), S_OK);
}

}  // namespace
}  // namespace orvo::testing
