// A server with COM drivers, by slot and by name: requests and their completions, stray ones too, drivers that
// follow one another, and what is left at the end.

#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "boundary/drivers/NameRecorder.h"
#include "boundary/drivers/SlotRecorder.h"
#include "com/DriverImport.h"
#include "server/KELDataServer.h"
#include "support/EventLog.h"
#include "unit/drivers/PanelFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace orvo::testing {

namespace {

class ServerWithComDrivers : public Boundary, public ::testing::WithParamInterface<bool> {
 protected:
  ServerWithComDrivers() {
    for (const auto& [progId, recorder] :
         {std::pair("First.Channel", first), std::pair("Second.Channel", second)}) {
      scene.Files().PutFile(std::string(progId) + ".ini", std::string("[Drivers]\nDataCommunication=") +
                                                              progId + "\nNetworkType=3\n2=PanelB\n");
      drivers.Register(progId, [recorder = recorder](DriverHost) { return NewDriver(recorder); });
      recorder->answers["CompileItemId"] = Flag(true);
      recorder->answers["CheckVariable"] = Flag(true);
      recorder->answers["Address"] = R8(7);
      recorder->answers["Length"] = I4(1);
      recorder->answers["Type"] = I4(0);
      recorder->answers["Value"] = I2(42);
    }
    server = orvo::KELDataServer::Create({scene.Platform(), scene.Files(), drivers});
  }
  void TearDown() override {
    group.reset();
    server.reset();
    for (const auto& recorder : {first, second}) {
      recorder->sink = nullptr;
      recorder->answers.clear();
      recorder->during.clear();
    }
    // The test, the recorder's factory and nobody else.
    EXPECT_EQ(first.use_count(), 2);
    EXPECT_EQ(second.use_count(), 2);
  }

  static bool BySlot() { return GetParam(); }
  static std::shared_ptr<CommunicationDriver> NewDriver(const std::shared_ptr<Recorder>& recorder) {
    return com::ImportDriver(BySlot() ? ComPtr<IUnknown>(new SlotRecorder(recorder))
                                      : ComPtr<IUnknown>(new NameRecorder(recorder)));
  }
  void Choose(const std::string& progId, Recorder& recorder) {
    // A device by name is an object of its own.
    const ComPtr<IDispatch> device(BySlot() ? nullptr
                                            : new NameRecorder(progId == "First.Channel" ? first : second));
    recorder.answers["CreateDevice"] = BySlot() ? I4(1) : Object(device.Get());
    server->SetDriverConfigurationFile(progId + ".ini");
    server->PutDeviceType(2);
    recorder.answers.erase("CreateDevice");
  }
  void OpenWithOneItem() {
    group = server->KELDataGroups()->Add();
    group->KELDataItems()->Add("WO100");
    group->PutSubscribed(true);
    group->Events().Advise(std::make_shared<GroupEventLog>(events));
    server->OpenCommunication();
  }
  // Starts a read and waits until the driver has it.
  void StartRead(Recorder& recorder) {
    std::int32_t transaction = 0;
    recorder.log.clear();
    group->AsyncRead({1}, transaction);
    const auto isRead = [](const std::string& line) { return line.starts_with("ReadItems"); };
    for (int step = 0; step < 100 && std::none_of(recorder.log.begin(), recorder.log.end(), isRead); ++step)
      scene.Advance(50ms);
    EXPECT_TRUE(std::any_of(recorder.log.begin(), recorder.log.end(), isRead));
  }
  // The driver's completion of a read; what it is answered.
  static std::string Complete(const Recorder& recorder) {
    Value values = Array(VT_VARIANT, 0, {Array(VT_UI1, 0, {UI1(9), UI1(0)})});
    Value errors = Array(VT_I4, 0, {I4(0)});
    if (!BySlot())
      return Invoke(recorder.sink.Query<IDispatch>().Get(), L"AsyncReadComplete", Method, {values, errors})
          .text.substr(0, 8);
    SetErrorInfo(0, nullptr);
    const auto sink = recorder.sink.Query<::IEventNotify>();
    return SlotText(sink->AsyncReadComplete(&values->parray, &errors->parray)).substr(0, 8);
  }

  const std::shared_ptr<Recorder> first = std::make_shared<Recorder>();
  const std::shared_ptr<Recorder> second = std::make_shared<Recorder>();
  DriverRegistry drivers;
  std::shared_ptr<orvo::KELDataServer> server;
  std::shared_ptr<orvo::KELDataGroup> group;
  Log events;
};

INSTANTIATE_TEST_SUITE_P(Ways, ServerWithComDrivers, ::testing::Bool(),
                         [](const auto& way) { return way.param ? "Slot" : "Name"; });

TEST_P(ServerWithComDrivers, ACompletionIsDelivered) {
  Choose("First.Channel", *first);
  EXPECT_EQ(first->Lines(), "NetworkType= I4:3; SetEventSink Object; CreateDevice Str:\"PanelB\"");
  OpenWithOneItem();
  StartRead(*first);
  EXPECT_EQ(Complete(*first), "Empty");
  scene.Advance(1s);
  EXPECT_EQ(events, Log{"AsyncReadComplete 1 [1] [I2:42] [0]"});
}

TEST_P(ServerWithComDrivers, ACompletionInsideTheCallIsDelivered) {
  Choose("First.Channel", *first);
  OpenWithOneItem();
  std::string answered;
  first->during["ReadItems"] = [&] { answered = Complete(*first); };
  StartRead(*first);
  EXPECT_EQ(answered, "Empty");
  scene.Advance(1s);
  EXPECT_EQ(events, Log{"AsyncReadComplete 1 [1] [I2:42] [0]"});
}

TEST_P(ServerWithComDrivers, AStrayCompletionFinishesTheRequestAgainOrFails) {
  Choose("First.Channel", *first);
  EXPECT_EQ(Complete(*first), "800A005B") << "nothing was sent yet";
  OpenWithOneItem();
  StartRead(*first);
  EXPECT_EQ(Complete(*first), "Empty");
  EXPECT_EQ(Complete(*first), "Empty");
  scene.Advance(1s);
  const Log twice{"AsyncReadComplete 1 [1] [I2:42] [0]", "AsyncReadComplete 1 [1] [I2:42] [0]"};
  EXPECT_EQ(events, twice);
  EXPECT_EQ(Complete(*first), "800A005B");
  scene.Advance(1s);
  EXPECT_EQ(events, twice);
}

TEST_P(ServerWithComDrivers, ARefusedRequestEndsWithItsError) {
  Choose("First.Channel", *first);
  OpenWithOneItem();
  first->failures["ReadItems"] = {static_cast<HRESULT>(0x800A0002), "busy"};
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncRead({1}, values, errors);
  EXPECT_EQ(LogText(errors), "[99]");
}

TEST_P(ServerWithComDrivers, ADriversNumbersBecomeTheServersErrors) {
  Choose("First.Channel", *first);
  std::vector<std::string> failures;
  for (const unsigned number : {0x800A0002U, 0x800A0003U, 0x800A000AU, 0x800A0063U, 0x800A1388U}) {
    first->failures["BaudRate="] = {static_cast<HRESULT>(number), "reason"};
    failures.push_back(FailureOf([&] { server->PutBaudRate(9600); }));
  }
  const auto direct = std::make_shared<ScriptedDriver>();
  drivers.Register("First.Channel", [&](DriverHost) { return direct; });
  server->SetDriverConfigurationFile("First.Channel.ini");
  std::vector<std::string> expected;
  for (const std::int32_t number : {2, 3, 10, 99, 5000}) {
    direct->Fail("PutBaudRate", number, "reason");
    expected.push_back(FailureOf([&] { server->PutBaudRate(9600); }));
  }
  EXPECT_EQ(failures, expected);
  drivers.Register("First.Channel", [recorder = first](DriverHost) { return NewDriver(recorder); });
}

TEST_P(ServerWithComDrivers, AnotherDriverTakesOver) {
  Choose("First.Channel", *first);
  const auto held = first.use_count();
  Choose("Second.Channel", *second);
  EXPECT_LT(first.use_count(), held) << "the first driver and its device have ended";
  OpenWithOneItem();
  StartRead(*second);
  EXPECT_EQ(Complete(*second), "Empty");
  scene.Advance(1s);
  EXPECT_EQ(events, Log{"AsyncReadComplete 1 [1] [I2:42] [0]"});
  EXPECT_EQ(Complete(*first), "800A005B") << "the sink is the spooler's, whoever calls it";
}

TEST_P(ServerWithComDrivers, ADriverMayBeReplacedInsideItsOwnCall) {
  Choose("First.Channel", *first);
  first->answers["BoardStatus"] = I4(11);
  second->answers["BoardStatus"] = I4(22);
  first->during["BoardStatus"] = [this] { Choose("Second.Channel", *second); };
  EXPECT_EQ(server->BoardStatus(), 11);
  EXPECT_EQ(server->BoardStatus(), 22);
}

TEST_P(ServerWithComDrivers, ADriverThatRefusesItsSinkIsReported) {
  first->failures["SetEventSink"] = {static_cast<HRESULT>(0x800A0005), "no sink"};
  EXPECT_EQ(FailureOf([&] { server->SetDriverConfigurationFile("First.Channel.ini"); }), "5:no sink");
}

TEST_P(ServerWithComDrivers, ACompletionAfterTheServersEndFails) {
  Choose("First.Channel", *first);
  OpenWithOneItem();
  StartRead(*first);
  EXPECT_EQ(Complete(*first), "Empty");
  group.reset();
  server.reset();
  EXPECT_EQ(Complete(*first), "800A005B");
}

}  // namespace

}  // namespace orvo::testing
