// What the server does with the spooler's events.

#include "server/SpoolerHandlers.h"
#include "unit/server/SynchronousFixture.h"

#include <algorithm>
#include <initializer_list>
#include <limits>

namespace orvo::testing {
namespace {

class SpoolerHandlersTest : public SynchronousTest {
 protected:
  // A finished request of the kind: both items, transaction 77.
  std::shared_ptr<DataRequest> Finished(std::int32_t kind) {
    auto request = DataRequest::Create();
    request->PutRequestType(kind);
    request->PutReqGroup(group);
    request->PutTransactionId(77);
    request->SetHandles({1, 2});
    request->SetDATAValues({Word(5), Word(6)});
    request->SetErrors({0, 0});
    group->KELDataItems()->Item(2)->SetItemGroupBufferOffset(2);
    request->SetBuffer({0, 1, 0, 2});  // most significant byte first
    return request;
  }
  void Deliver(const std::shared_ptr<DataRequest>& request) {
    Server().Spooler()->AddDeliver(request);
    Server().Spooler()->DeliverNext();
  }
};

struct Delivery {
  std::int32_t kind;
  const char* event;  // of the group; empty for none
  bool clearsFlag;
};

const Delivery Deliveries[] = {
    {1, "AsyncReadComplete 77 [1,2] [I2:5,I2:6] [0,0]", false},
    {2, "AsyncWriteComplete 77 [1,2] [0,0]", false},
    {3, "DataChange [1,2] [I2:5,I2:6]", false},
    {4, "", true},
    {5, "", true},
    {6, "", true},
    {7, "", true},
    {9, "AsyncReadAllComplete 77 [1,2] [R8:1,R8:2] [0,0]", false},
    {10, "AsyncWriteAllComplete 77 [1,2] [0,0]", false},
    {11, "DataChange [1,2] [R8:1,R8:2]", false},
    {12, "", true},
    {13, "", true},
    {0, "", false},
    {8, "", false},
    {14, "", false},
    {-1, "", false},
    {std::numeric_limits<std::int32_t>::max(), "", false},
};

TEST_F(SpoolerHandlersTest, EachKindGoesToItsGroupOrReleasesTheWaitingCaller) {
  for (const Delivery& row : Deliveries) {
    SCOPED_TRACE(row.kind);
    group.reset();
    StartAt(SimulatedPlatform::DefaultStart);
    Open();
    TimerModule().SyncRequestPending = true;
    Deliver(Finished(row.kind));
    EXPECT_EQ(plant->events, *row.event == '\0' ? Log{} : Log{row.event});
    EXPECT_EQ(Pending(), !row.clearsFlag);
  }
}

TEST_F(SpoolerHandlersTest, AKindThatAHandlerDoesNotListIsIgnoredByIt) {
  using Handler = void (SpoolerHandlers::*)(const std::shared_ptr<DataRequest>&);
  const struct {
    const char* name;
    Handler handler;
    std::initializer_list<std::int32_t> listed;
  } handlers[] = {
      {"read", &SpoolerHandlers::ReadRequestComplete, {1, 9, 4, 6, 12}},
      {"rated", &SpoolerHandlers::ReadRatedRequestComplete, {3, 11}},
      {"write", &SpoolerHandlers::WriteRequestComplete, {2, 10, 5, 7, 13}},
  };
  for (const auto& handler : handlers) {
    for (const Delivery& row : Deliveries) {
      SCOPED_TRACE(std::string(handler.name) + " " + std::to_string(row.kind));
      group.reset();
      StartAt(SimulatedPlatform::DefaultStart);
      Open();
      TimerModule().SyncRequestPending = true;
      SpoolerHandlers handlersOfServer(plant->server);
      (handlersOfServer.*handler.handler)(Finished(row.kind));
      const bool listed =
          std::find(handler.listed.begin(), handler.listed.end(), row.kind) != handler.listed.end();
      EXPECT_EQ(plant->events, listed && *row.event != '\0' ? Log{row.event} : Log{});
      EXPECT_EQ(Pending(), !(listed && row.clearsFlag));
    }
  }
}

TEST_F(SpoolerHandlersTest, ACancelledRequestIsReportedToItsGroup) {
  Open();
  std::int32_t read = 0;
  std::int32_t write = 0;
  group->AsyncRead({1}, read);
  group->AsyncWrite({1}, {Variant(std::int16_t{5})}, write);
  group->AsyncCancel(read);
  group->AsyncCancel(write);
  plant->Advance(1s);
  EXPECT_EQ(plant->events, (Log{"AsyncCancelComplete 1 True", "AsyncCancelComplete 2 True"}));
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(SpoolerHandlersTest, DownloadReportsReachTheClientUnchanged) {
  Open();
  const auto sink = std::make_shared<ServerEventLog>(plant->events);
  Server().Events().Advise(sink);
  for (const int percent : {0, 40, 100, -1, 32767, -32768}) {
    plant->events.clear();
    Driver().Sink().DownloadFirmwareInProgress(static_cast<std::int16_t>(percent));
    Driver().Sink().DownloadProjectInProgress(static_cast<std::int16_t>(percent));
    EXPECT_EQ(plant->events, (Log{"DownloadFirmwareInProgress " + std::to_string(percent),
                                  "DownloadProjectInProgress " + std::to_string(percent)}));
  }
  plant->events.clear();
  Driver().Sink().DownloadFirmwareComplete();
  Driver().Sink().DownloadProjectComplete();
  EXPECT_EQ(plant->events, (Log{"DownloadFirmwareComplete", "DownloadProjectComplete"}));
}

TEST_F(SpoolerHandlersTest, ADownloadReportComesAtOnceBeforeAnyQueuedDelivery) {
  Open();
  Server().Events().Advise(std::make_shared<ServerEventLog>(plant->events));
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  plant->Advance(50ms);
  Driver().Sink().AsyncReadComplete({Word(5)}, {0});
  Driver().Sink().DownloadFirmwareInProgress(40);
  EXPECT_EQ(plant->events, Log{"DownloadFirmwareInProgress 40"});
  plant->Advance(50ms);
  EXPECT_EQ(plant->events, (Log{"DownloadFirmwareInProgress 40", "AsyncReadComplete 1 [1] [I2:5] [0]"}));
}

TEST_F(SpoolerHandlersTest, EachGroupGetsItsOwnCompletions) {
  BringTo(2);
  group = plant->AddGroup({"WO100", "WO102"});
  const auto other = Server().KELDataGroups()->Add();
  other->KELDataItems()->Add("WO200");
  other->PutSubscribed(true);
  plant->Watch(*other, "other ");
  plant->AnswerByItself();
  Server().OpenCommunication();
  std::int32_t id = 0;
  other->AsyncRead({1}, id);
  group->AsyncRead({2}, id);
  plant->Advance(200ms);
  EXPECT_EQ(plant->events,
            (Log{"other AsyncReadComplete 1 [1] [I2:3] [0]", "AsyncReadComplete 2 [2] [I2:2] [0]"}));
}

TEST_F(SpoolerHandlersTest, ARequestWithoutAGroupReachesNobody) {
  Open();
  for (const std::int32_t kind : {1, 2, 3, 9, 10, 11}) {
    SCOPED_TRACE(kind);
    const auto request = Finished(kind);
    request->PutReqGroup(nullptr);
    Deliver(request);
    EXPECT_EQ(plant->events, Log{});
  }
  Deliver(Finished(1));
  EXPECT_EQ(plant->events.size(), 1U);
}

TEST_F(SpoolerHandlersTest, AfterTheServersEndTheHandlersDoNothing) {
  Open();
  SpoolerHandlers handlers(plant->server);
  plant->server.reset();
  for (const Delivery& row : Deliveries) {
    SCOPED_TRACE(row.kind);
    const auto request = Finished(row.kind);
    handlers.ReadRequestComplete(request);
    handlers.ReadRatedRequestComplete(request);
    handlers.WriteRequestComplete(request);
    handlers.CancelRequestComplete(request);
  }
  handlers.DownloadFirmwareComplete();
  handlers.DownloadFirmwareInProgress(1);
  handlers.DownloadProjectComplete();
  handlers.DownloadProjectInProgress(1);
  EXPECT_EQ(plant->events, Log{});
}

}  // namespace
}  // namespace orvo::testing
