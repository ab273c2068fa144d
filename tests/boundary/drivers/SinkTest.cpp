// The event sink that COM drivers get: around any sink of the core, and the spooler's own.

#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "boundary/drivers/NameRecorder.h"
#include "boundary/drivers/SlotRecorder.h"
#include "com/DriverImport.h"
#include "com/FacadeIdentity.h"
#include "spooler/WeakSink.h"
#include "unit/drivers/PanelFixture.h"

#include <gtest/gtest.h>

#include <thread>

namespace orvo::testing {

namespace {

// One call of the sink, by slot and by name, and the line that the core's sink writes.
struct SinkCall {
  const char* name;
  std::function<HRESULT(::IEventNotify&)> bySlot;
  std::vector<Value> byName;
  const char* line;
};

SAFEARRAY** ArrayOf(Value& value) {
  return &value->parray;
}

std::vector<SinkCall> SinkCalls() {
  const auto values = [] {
    return Array(VT_VARIANT, 0, {I4(5), Str("ab"), Array(VT_UI1, 0, {UI1(1), UI1(255)}), Value()});
  };
  const auto errors = [] { return Array(VT_I4, 0, {I4(0), I4(0), I4(0), I4(-10)}); };
  const auto bytes = [] { return Array(VT_UI1, 0, {UI1(7), UI1(8)}); };
  return {
      {"AsyncReadComplete",
       [=](::IEventNotify& sink) {
         Value given = values();
         Value failed = errors();
         return sink.AsyncReadComplete(ArrayOf(given), ArrayOf(failed));
       },
       {values(), errors()},
       "ReadComplete I4:5=0 String:\"ab\"=0 UI1[1,255]=0 Empty=-10"},
      {"AsyncReadGroupComplete",
       [=](::IEventNotify& sink) {
         Value given = bytes();
         LONG error = 3;
         return sink.AsyncReadGroupComplete(ArrayOf(given), &error);
       },
       {bytes(), I4(3)},
       "ReadGroupComplete UI1[7,8]=3"},
      {"AsyncWriteComplete",
       [=](::IEventNotify& sink) {
         Value failed = errors();
         return sink.AsyncWriteComplete(ArrayOf(failed));
       },
       {errors()},
       "WriteComplete 0 0 0 -10"},
      {"AsyncWriteGroupComplete",
       [](::IEventNotify& sink) {
         LONG error = -5;
         return sink.AsyncWriteGroupComplete(&error);
       },
       {I4(-5)},
       "WriteGroupComplete -5"},
      {"DownloadFirmwareComplete",
       [](::IEventNotify& sink) { return sink.DownloadFirmwareComplete(); },
       {},
       "FirmwareComplete"},
      {"DownloadFirmwareInProgress",
       [](::IEventNotify& sink) {
         short percent = 40;
         return sink.DownloadFirmwareInProgress(&percent);
       },
       {I2(40)},
       "FirmwareInProgress 40"},
      {"DownloadProjectComplete",
       [](::IEventNotify& sink) { return sink.DownloadProjectComplete(); },
       {},
       "ProjectComplete"},
      {"DownloadProjectInProgress",
       [](::IEventNotify& sink) {
         short percent = 100;
         return sink.DownloadProjectInProgress(&percent);
       },
       {I2(100)},
       "ProjectInProgress 100"},
  };
}

class DriverSink : public Boundary, public ::testing::WithParamInterface<bool> {
 protected:
  static bool BySlot() { return GetParam(); }
  std::shared_ptr<CommunicationDriver> NewDriver() {
    return com::ImportDriver(BySlot() ? ComPtr<IUnknown>(new SlotRecorder(recorder))
                                      : ComPtr<IUnknown>(new NameRecorder(recorder)));
  }
  // What the driver is answered.
  std::string Call(const SinkCall& call) {
    if (!BySlot()) return Invoke(recorder->sink.Query<IDispatch>().Get(), IdText(call.name), call).text;
    SetErrorInfo(0, nullptr);
    return SlotText(call.bySlot(*recorder->sink.Query<::IEventNotify>().Get()));
  }
  void TearDown() override { recorder->sink = nullptr; }

  const std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
  const std::shared_ptr<LoggingSink> target = std::make_shared<LoggingSink>();

 private:
  static std::wstring IdText(const std::string& name) { return {name.begin(), name.end()}; }
  static Reply Invoke(IDispatch* sink, const std::wstring& name, const SinkCall& call) {
    return testing::Invoke(sink, name.c_str(), Method, call.byName);
  }
};

INSTANTIATE_TEST_SUITE_P(Ways, DriverSink, ::testing::Bool(),
                         [](const auto& way) { return way.param ? "Slot" : "Name"; });

TEST_P(DriverSink, EveryOperationReachesTheCore) {
  const auto driver = NewDriver();
  driver->SetEventSink(target);
  EXPECT_EQ(recorder->Lines(), "SetEventSink Object");
  for (const SinkCall& call : SinkCalls()) {
    EXPECT_EQ(Call(call), "Empty") << call.name;
    EXPECT_EQ(target->log, Log{call.line});
    target->log.clear();
  }
}

TEST_P(DriverSink, AFailureGoesBackToTheDriver) {
  const auto driver = NewDriver();
  driver->SetEventSink(target);
  target->onLine = [](const std::string&) { throw AutomationError(10, "not now"); };
  for (const SinkCall& call : SinkCalls())
    EXPECT_EQ(Call(call), "800A000A \"not now\" ORVOBusiness.DriverSink") << call.name;
}

TEST_P(DriverSink, TheSpoolersFaceIsTheOneThatADriverBySlotGets) {
  const auto spooler = DataRequests::Create(scene.Platform());
  const auto driver = NewDriver();
  spooler->PutDataComm(driver);
  EXPECT_EQ(com::OwnObject(recorder->sink.Get()) == spooler, BySlot());
}

TEST_P(DriverSink, WithoutARequestCompletionsFailWith91) {
  const auto spooler = DataRequests::Create(scene.Platform());
  const auto driver = NewDriver();
  spooler->PutDataComm(driver);
  for (const SinkCall& call : SinkCalls()) {
    const bool isReport = std::string(call.name).starts_with("Download");
    EXPECT_EQ(Call(call).substr(0, 8), isReport ? "Empty" : "800A005B") << call.name;
  }
}

TEST_P(DriverSink, AfterTheServersEndEveryOperationFailsWith91) {
  const auto driver = NewDriver();
  DataRequests::Create(scene.Platform())->PutDataComm(driver);
  for (const SinkCall& call : SinkCalls())
    EXPECT_EQ(Call(call).substr(0, 8), "800A005B") << call.name;
}

TEST_P(DriverSink, ADriverKeepsNothingOfTheServerAlive) {
  const auto before = AutomationObject::LiveCount();
  DataRequests::Create(scene.Platform())->PutDataComm(NewDriver());
  EXPECT_EQ(AutomationObject::LiveCount(), before);
  EXPECT_TRUE(recorder->sink);
}

TEST_P(DriverSink, AWithdrawnSinkIsNothing) {
  const auto driver = NewDriver();
  driver->SetEventSink(target);
  driver->SetEventSink(nullptr);
  EXPECT_EQ(recorder->Lines(), "SetEventSink Object; SetEventSink Nothing");
  EXPECT_FALSE(recorder->sink);
  EXPECT_EQ(target.use_count(), 1) << "the sink is let go of";
}

TEST_P(DriverSink, AnotherThreadIsRefused) {
  const auto driver = NewDriver();
  driver->SetEventSink(target);
  const SinkCall call = SinkCalls()[3];
  HRESULT result = S_OK;
  // A raw pointer: its reference stays here, and so does everything that is counted.
  if (BySlot()) {
    const auto sink = recorder->sink.Query<::IEventNotify>();
    std::thread([&] { result = call.bySlot(*sink.Get()); }).join();
  } else {
    const auto sink = recorder->sink.Query<IDispatch>();
    const DISPID id = IdOf(sink.Get(), L"DownloadProjectComplete");
    DISPPARAMS none{};
    std::thread([&] {
      result = sink->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr);
    }).join();
  }
  EXPECT_EQ(Hex(result), Hex(RPC_E_WRONG_THREAD));
  EXPECT_EQ(target->log, Log{});
}

// What scripts and other late-bound callers make of the arrays.
TEST_F(Boundary, SinkCallsByNameTakeEveryShape) {
  struct Row {
    Value values;
    Value errors;
    const char* line;
  };
  Value errorVariable = Array(VT_VARIANT, 0, {I2(0), R8(10)});
  Value valueVariable = Array(VT_VARIANT, 0, {I2(1), Str("x")});
  const Row rows[] = {
      {Array(VT_VARIANT, 0, {I2(5)}), Array(VT_VARIANT, 0, {I2(0)}), "ReadComplete I2:5=0"},
      {Array(VT_VARIANT, 1, {R8(1.5)}), Array(VT_I2, 5, {I2(7)}), "ReadComplete R8:1.5=7"},
      {Ref(valueVariable), Ref(errorVariable), "ReadComplete I2:1=0 String:\"x\"=10"},
      {Array(VT_VARIANT, 0, {Array(VT_VARIANT, 0, {I2(1), UI1(2), I4(255)})}), Array(VT_VARIANT, 0, {I4(0)}),
       "ReadComplete UI1[1,2,255]=0"},
      {Array(VT_VARIANT, 0, {Array(VT_VARIANT, 0, {I2(256)})}), Array(VT_VARIANT, 0, {I4(0)}),
       "ReadComplete array of kind 12=0"},
      {I4(9), I4(0), "ReadComplete I4:9=0"},
  };
  const auto recorder = std::make_shared<Recorder>();
  const auto target = std::make_shared<LoggingSink>();
  const auto driver = com::ImportDriver(ComPtr<IUnknown>(new NameRecorder(recorder)));
  driver->SetEventSink(target);
  const auto sink = recorder->sink.Query<IDispatch>();
  for (const Row& row : rows) {
    EXPECT_EQ(Invoke(sink.Get(), L"AsyncReadComplete", Method, {row.values, row.errors}).text, "Empty");
    EXPECT_EQ(target->log, Log{row.line});
    target->log.clear();
  }
  EXPECT_EQ(
      Invoke(sink.Get(), L"AsyncReadGroupComplete", Method, {Array(VT_VARIANT, 0, {I2(1), I2(2)}), Str("4")})
          .text,
      "Empty");
  EXPECT_EQ(target->log, Log{"ReadGroupComplete UI1[1,2]=4"});
  recorder->sink = nullptr;
}

}  // namespace

}  // namespace orvo::testing
