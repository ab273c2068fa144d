// What a driver calls back through the slots of IEventNotify, and whole groups as one block.

#include "IORVOBusiness_h.h"
#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "boundary/TestSink.h"

namespace orvo::testing {
namespace {

using Lines = std::vector<std::string>;

class DriverSinks : public Boundary {
 protected:
  // A running, subscribed group of two words over the scripted driver, and the spooler's face as a sink.
  void Start(bool wholeGroups) {
    scene.scripted->groupTransfer = wholeGroups;
    scene.Configure("scripted.ini");
    group = scene.AddGroup({"WO100", "WO102"});
    LONG bytes = 4;
    EXPECT_EQ(group->SetCompiledBufferDimension(&bytes), S_OK);
    group->put_Subscribed(VARIANT_TRUE);
    const ComPtr<IConnectionPoint> point = PointOf(group.Get(), DIID___KELDataGroup);
    DWORD cookie = 0;
    EXPECT_EQ(point->Advise(events.Face(), &cookie), S_OK);
    scene.server->OpenCommunication();
    spooler = scene.Spooler();
    sink = spooler.Query<::IEventNotify>();
  }
  // Queues a call and lets the driver take it.
  void Take(const wchar_t* name, const std::vector<Value>& arguments) {
    EXPECT_EQ(Invoke(group.Get(), name, Method, arguments).text, "Empty");
    scene.Advance(200ms);
  }
  // As the driver does: through the core's sink that it was given.
  void ExpectInFlight(bool inFlight) {
    const std::size_t calls = scene.scripted->log.size();
    EXPECT_EQ(Invoke(group.Get(), L"AsyncReadAll", Method, {I4(0)}).text, "Empty");
    scene.Advance(200ms);
    EXPECT_EQ(scene.scripted->log.size() == calls, inFlight);
  }

  TestSink events{DIID___KELDataGroup};
  ComPtr<_KELDataGroup> group;
  ComPtr<_DataRequests> spooler;
  ComPtr<::IEventNotify> sink;
};

TEST_F(DriverSinks, CompleteReadsAndWrites) {
  Start(false);
  Take(L"AsyncReadAll", {I4(0)});
  Value values = Array(VT_VARIANT, 0, {Array(VT_UI1, 0, {I2(1), I2(2)}), Value()});
  Value errors = Array(VT_I4, 0, {I4(0), I4(5)});
  EXPECT_EQ(sink->AsyncReadComplete(&values->parray, &errors->parray), S_OK);
  scene.Advance(200ms);
  EXPECT_EQ(events.log, Lines{"2(I4:1, I4[0: 1, 2], Variant[0: I2:513, Empty], I4[0: 0, 5])"});
  EXPECT_EQ(Text(values), "Variant[0: UI1[0: 1, 2], Empty]") << "the driver's arrays stay its own";
  EXPECT_EQ(Text(errors), "I4[0: 0, 5]");
  Take(L"AsyncWrite", {Array(VT_I4, 0, {I4(2)}), Array(VT_VARIANT, 0, {I2(3)}), I4(0)});
  Value one = Array(VT_I4, 0, {I4(4)});
  EXPECT_EQ(sink->AsyncWriteComplete(&one->parray), S_OK);
  scene.Advance(200ms);
  EXPECT_EQ(events.log.back(), "5(I4:2, I4[0: 2], I4[0: 4])");
}

TEST_F(DriverSinks, CompleteWholeGroups) {
  Start(true);
  Take(L"AsyncReadAll", {I4(0)});
  Value buffer = Array(VT_UI1, 0, {I2(1), I2(2), I2(3), I2(4)});
  LONG error = 5;
  EXPECT_EQ(sink->AsyncReadGroupComplete(&buffer->parray, &error), S_OK);
  scene.Advance(200ms);
  ASSERT_EQ(events.log.size(), 1U);
  EXPECT_TRUE(events.log[0].starts_with("3(I4:1, I4[0: 1, 2], ")) << events.log[0];
  EXPECT_TRUE(events.log[0].ends_with("I4[0: 5, 5])")) << "one error for all: " << events.log[0];
  EXPECT_EQ(error, 5);
  Take(L"AsyncWriteAll", {Array(VT_I4, 0, {I4(1), I4(2)}), Array(VT_VARIANT, 0, {I2(1), I2(2)}), I4(0)});
  LONG none = 0;
  EXPECT_EQ(sink->AsyncWriteGroupComplete(&none), S_OK);
  scene.Advance(200ms);
  EXPECT_EQ(events.log.back(), "4(I4:2, I4[0: 1, 2], I4[0: 0, 0])");
}

TEST_F(DriverSinks, RefuseWhatIsMissingOrOfAnotherType) {
  Start(false);
  Take(L"AsyncReadAll", {I4(0)});
  Value values = Array(VT_VARIANT, 0, {I2(1), I2(2)});
  Value errors = Array(VT_I4, 0, {I4(0), I4(0)});
  Value texts = Array(VT_BSTR, 0, {Str("a"), Str("b")});
  EXPECT_EQ(sink->AsyncReadComplete(nullptr, &errors->parray), E_POINTER);
  EXPECT_EQ(sink->AsyncReadComplete(&values->parray, nullptr), E_POINTER);
  EXPECT_EQ(sink->AsyncWriteComplete(nullptr), E_POINTER);
  EXPECT_EQ(sink->AsyncReadGroupComplete(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(sink->AsyncWriteGroupComplete(nullptr), E_POINTER);
  EXPECT_EQ(sink->DownloadFirmwareInProgress(nullptr), E_POINTER);
  EXPECT_EQ(sink->DownloadProjectInProgress(nullptr), E_POINTER);
  EXPECT_EQ(SlotText(sink->AsyncReadComplete(&texts->parray, &errors->parray)),
            "800A000D \"Type mismatch\" ORVOBusiness.DataRequests");
  scene.Advance(200ms);
  EXPECT_TRUE(events.log.empty());
  ExpectInFlight(true);
  EXPECT_EQ(sink->AsyncReadComplete(&values->parray, &errors->parray), S_OK)
      << "the right answer is still taken";
  scene.Advance(200ms);
  EXPECT_EQ(events.log.size(), 1U);
}

TEST_F(DriverSinks, SayThatTheServerIsGone) {
  Start(false);
  Value errors = Array(VT_I4, 0, {I4(0)});
  const ComPtr<::IEventNotify> late = sink;
  sink = nullptr;
  group = nullptr;
  scene.server = nullptr;
  spooler = nullptr;
  EXPECT_EQ(SlotText(late->AsyncWriteComplete(&errors->parray)).substr(0, 8), "800A005B")
      << "a driver's sink does not keep the server";
  EXPECT_EQ(AutomationObject::LiveCount(), 0);
}

TEST_F(DriverSinks, AHandlerCannotChangeWhatTheNextOneGets) {
  Start(false);
  // A sink that scribbles into the arrays that it got by reference.
  class Scribbler final : public IDispatch {
   public:
    virtual ~Scribbler() = default;
    STDMETHODIMP QueryInterface(REFIID, void** result) override { return *result = this, S_OK; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                        UINT*) override {
      LONG index = 0;
      LONG nonsense = 4711;
      SafeArrayPutElement(*arguments->rgvarg[0].pparray, &index, &nonsense);
      SafeArrayDestroy(*arguments->rgvarg[2].pparray);
      *arguments->rgvarg[2].pparray = SafeArrayCreateVector(VT_I4, 7, 1);
      return S_OK;
    }
  } scribbler;
  const ComPtr<IConnectionPoint> point = PointOf(group.Get(), DIID___KELDataGroup);
  DWORD first = 0;
  DWORD second = 0;
  TestSink last{DIID___KELDataGroup};
  EXPECT_EQ(point->Advise(&scribbler, &first), S_OK);
  EXPECT_EQ(point->Advise(last.Face(), &second), S_OK);
  Take(L"AsyncReadAll", {I4(0)});
  Value values = Array(VT_VARIANT, 0, {Value(), Value()});
  Value errors = Array(VT_I4, 0, {I4(0), I4(5)});
  EXPECT_EQ(sink->AsyncReadComplete(&values->parray, &errors->parray), S_OK);
  scene.Advance(200ms);
  EXPECT_EQ(last.log, Lines{"2(I4:1, I4[0: 1, 2], Variant[0: Empty, Empty], I4[0: 0, 5])"});
  EXPECT_EQ(events.log, last.log);
  EXPECT_EQ(point->Unadvise(first), S_OK);
  EXPECT_EQ(point->Unadvise(second), S_OK);
}

}  // namespace
}  // namespace orvo::testing
