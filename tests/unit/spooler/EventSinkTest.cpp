#include "SpoolerFixture.h"

#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using EventSink = SpoolerFixture;

TEST_F(EventSink, AReadCompletionCopiesValuesAndErrorsIntoTheRequestInFlight) {
  const auto request = Send(RT_ReadGroupItemsAsync);
  TakeJournal();
  SafeArray<Variant> values{Word(1), std::int32_t{2}};
  SafeArray<std::int32_t> errors{0, 7};
  driver->Sink().AsyncReadComplete(values, errors);
  values.Put(0, std::int32_t{90});
  errors.Put(0, 90);
  EXPECT_EQ(LogText(request->DATAValues()), "[UI1[1,0],I4:2]");
  EXPECT_EQ(LogText(request->Errors()), "[0,7]");
  EXPECT_EQ(request->Error(), 0);
  EXPECT_FALSE(spooler->IsBusy());
  EXPECT_EQ(journal, Log{});  // the group's tick is not touched
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"ReadRequestComplete 1"}));
}

TEST_F(EventSink, AGroupReadCompletionOfThreeItemsWithError5GivesEachItemError5) {
  platform.PutTickCount(123456);
  const auto request = Send(RT_ReadGroupAsync);
  TakeJournal();
  SafeArray<std::uint8_t> buffer{7, 8, 9};
  driver->Sink().AsyncReadGroupComplete(buffer, 5);
  buffer.Put(0, 90);
  EXPECT_EQ(LogText(request->Errors()), "[5,5,5]");
  EXPECT_EQ(request->Error(), 5);
  EXPECT_EQ(request->Buffer(), (SafeArray<std::uint8_t>{7, 8, 9}));
  EXPECT_FALSE(spooler->IsBusy());
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"PutLastUseTick(123456)", "ReadRequestComplete 1"}));
}

TEST_F(EventSink, AGroupReadCompletionCountsTheItemsOfTheGroupAtThatTime) {
  for (const std::int32_t count : {0, 1, 5}) {
    const auto request = Send(RT_ReadGroupSync);
    group->itemCount = count;
    driver->Sink().AsyncReadGroupComplete({}, 0);
    EXPECT_EQ(request->Errors(), SafeArray<std::int32_t>(static_cast<std::size_t>(count)));
    EXPECT_TRUE(request->Buffer().IsEmpty());
    DeliverAll();
  }
}

TEST_F(EventSink, AWriteCompletionStoresExactlyTheArrayThatTheDriverPassed) {
  SafeArray<std::int32_t> based{4, 5, 6};
  based.Rebase(3);
  for (const auto& errors : {SafeArray<std::int32_t>{1, 2}, based, SafeArray<std::int32_t>{}}) {
    const auto request = Send(RT_WriteGroupItemsAsync);
    TakeJournal();
    driver->Sink().AsyncWriteComplete(errors);
    EXPECT_EQ(request->Errors(), errors);
    EXPECT_EQ(LogText(request->DATAValues()), "[I4:5,I4:6]");
    EXPECT_EQ(request->Error(), 0);
    EXPECT_EQ(journal, Log{});
    DeliverAll();
  }
}

TEST_F(EventSink, AGroupWriteCompletionSetsTheErrorAlone) {
  const auto request = Send(RT_WriteGroupAsync);
  TakeJournal();
  driver->Sink().AsyncWriteGroupComplete(-4);
  EXPECT_EQ(request->Error(), -4);
  EXPECT_EQ(LogText(request->Errors()), "[0,0]");
  EXPECT_EQ(request->Buffer(), (SafeArray<std::uint8_t>{8, 9}));
  EXPECT_EQ(journal, Log{});
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"WriteRequestComplete 1"}));
}

TEST_F(EventSink, EveryCompletionBelongsToTheRequestInFlightWhateverItsKind) {
  const auto write = Send(RT_WriteItemSync);
  TakeJournal();
  driver->Sink().AsyncReadComplete({std::int32_t{3}}, {1});
  EXPECT_EQ(LogText(write->DATAValues()), "[I4:3]");
  EXPECT_EQ(LogText(write->Errors()), "[1]");
  const auto read = Send(RT_ReadItemSync);
  driver->Sink().AsyncReadGroupComplete({1}, 2);
  EXPECT_EQ(read->Error(), 2);
  EXPECT_EQ(LogText(read->Errors()), "[2,2,2]");
  DeliverAll();
  EXPECT_EQ(journal, (Log{"ReadItems(addresses=[55],dimensions=[2])", "PutLastUseTick(100000)",
                          "WriteRequestComplete 1", "ReadRequestComplete 2"}));
}

TEST_F(EventSink, AStrayCompletionFinishesTheSameRequestAgainAndItIsDeliveredTwice) {
  const auto request = Send(RT_ReadItemSync);
  const auto next = Queue(RT_WriteItemSync);
  TakeJournal();
  driver->Sink().AsyncReadComplete({std::int32_t{1}}, {0});
  driver->Sink().AsyncReadComplete({std::int32_t{2}}, {3});
  EXPECT_EQ(request->PriorReq(), nullptr);
  EXPECT_EQ(request->NextReq(), nullptr);
  EXPECT_EQ(LogText(request->DATAValues()), "[I4:2]");
  EXPECT_EQ(LogText(request->Errors()), "[3]");
  DeliverAll(5);
  EXPECT_EQ(TakeJournal(), (Log{"ReadRequestComplete 1", "ReadRequestComplete 1"}));
  EXPECT_EQ(events->delivered, (std::vector<std::shared_ptr<DataRequest>>{request, request}));
  // Also when it was delivered already, as long as no other was taken.
  Complete();
  Complete();
  Complete();
  DeliverAll(5);
  EXPECT_EQ(TakeJournal(), (Log{"ReadRequestComplete 1", "ReadRequestComplete 1", "ReadRequestComplete 1"}));
  spooler->ProcessNext();
  Complete();
  DeliverAll(5);
  EXPECT_EQ(journal,
            (Log{"WriteItems(addresses=[55],dimensions=[2],values=[I4:5,I4:6])", "WriteRequestComplete 2"}));
  EXPECT_EQ(events->delivered.back(), next);
}

TEST_F(EventSink, AStrayCompletionBehindOtherDeliveriesComesOutTwiceInAll) {
  const auto first = Finish(RT_ReadItemSync);
  const auto second = Finish(RT_WriteItemSync);
  TakeJournal();
  Complete();
  EXPECT_EQ(first->PriorReq(), second);
  EXPECT_EQ(second->PriorReq(), nullptr);
  DeliverAll(6);
  EXPECT_EQ(journal, (Log{"ReadRequestComplete 1", "WriteRequestComplete 2", "WriteRequestComplete 2"}));
}

TEST_F(EventSink, AStrayCompletionAfterTheQueueWasFoundEmptyFailsBackToTheDriver) {
  Finish(RT_ReadItemSync);
  DeliverAll(2);
  spooler->ProcessNext();
  TakeJournal();
  IEventNotify& sink = driver->Sink();
  EXPECT_EQ(ErrorOf([&] { sink.AsyncReadComplete({}, {}); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.AsyncReadGroupComplete({}, 0); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.AsyncWriteComplete({}); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.AsyncWriteGroupComplete(0); }), NotSet);
  EXPECT_FALSE(spooler->IsBusy());
  DeliverAll(2);
  EXPECT_EQ(journal, Log{});
}

TEST_F(EventSink, BeforeAnythingWasSentACompletionFailsBackToTheDriver) {
  Queue(RT_ReadItemSync);
  IEventNotify& sink = driver->Sink();
  EXPECT_EQ(ErrorOf([&] { sink.AsyncReadComplete({}, {}); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.AsyncReadGroupComplete({}, 0); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.AsyncWriteComplete({}); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.AsyncWriteGroupComplete(0); }), NotSet);
}

TEST_F(EventSink, AStrayCompletionCanDeliverEvenACancelledAndAFailedRequest) {
  Queue(RT_ReadGroupAsync);
  spooler->AsyncCancel(1);
  spooler->ProcessNext();
  Complete();
  driver->Fail("ReadItems", 1, "", 1);
  Send(RT_ReadItemSync);
  Complete();
  TakeJournal();
  DeliverAll(4);
  EXPECT_EQ(journal, (Log{"ReadRequestComplete 1", "ReadRequestComplete 2"}));
}

TEST_F(EventSink, AGroupReadCompletionOfARequestWithoutAGroupFailsAndItStaysInFlight) {
  const auto request = Make(RT_ReadItemSync);
  request->PutReqGroup(nullptr);
  spooler->AddRequest(request);
  spooler->ProcessNext();
  TakeJournal();
  EXPECT_EQ(ErrorOf([&] { driver->Sink().AsyncReadGroupComplete({1}, 5); }), NotSet);
  EXPECT_TRUE(spooler->IsBusy());
  EXPECT_EQ(request->Error(), 0);
  EXPECT_EQ(LogText(request->Errors()), "[0,0]");
  EXPECT_TRUE(request->Buffer().IsEmpty());
  DeliverAll(2);
  spooler->ProcessNext();
  EXPECT_EQ(journal, Log{});
  driver->Sink().AsyncReadComplete({std::int32_t{1}}, {0});  // needs no group
  EXPECT_FALSE(spooler->IsBusy());
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"ReadRequestComplete 1"}));
}

TEST_F(EventSink, AFailureInsideTheGroupGoesBackToTheDriverAfterTheStepsBeforeIt) {
  const auto request = Send(RT_ReadGroupAsync);
  TakeJournal();
  group->during["ItemCount"] = [] { throw AutomationError(77, "inside"); };
  EXPECT_EQ(ErrorOf([&] { driver->Sink().AsyncReadGroupComplete({1}, 5); }), "77: inside");
  EXPECT_EQ(request->Error(), 5);
  EXPECT_EQ(LogText(request->Errors()), "[0,0]");
  EXPECT_TRUE(request->Buffer().IsEmpty());
  EXPECT_TRUE(spooler->IsBusy());
  DeliverAll(2);
  EXPECT_EQ(journal, (Log{"PutLastUseTick(100000)"}));
  TakeJournal();
  group->during["PutLastUseTick"] = [] { throw AutomationError(78, "tick"); };
  EXPECT_EQ(ErrorOf([&] { driver->Sink().AsyncReadGroupComplete({1}, 6); }), "78: tick");
  EXPECT_EQ(request->Error(), 5);
}

TEST_F(EventSink, DownloadReportsAreRaisedAtOnceBeforeAnyQueuedDelivery) {
  Finish(RT_ReadItemSync);
  TakeJournal();
  IEventNotify& sink = driver->Sink();
  sink.DownloadFirmwareInProgress(40);
  sink.DownloadProjectInProgress(-1);
  sink.DownloadProjectInProgress(32767);
  sink.DownloadFirmwareComplete();
  sink.DownloadProjectComplete();
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"DownloadFirmwareInProgress 40", "DownloadProjectInProgress -1",
                          "DownloadProjectInProgress 32767", "DownloadFirmwareComplete",
                          "DownloadProjectComplete", "ReadRequestComplete 1"}));
}

TEST_F(EventSink, AReportInsideADeliveryIsRaisedAtOnceToo) {
  Finish(RT_ReadItemSync);
  Send(RT_ReadItemSync);
  TakeJournal();
  events->handlers["ReadRequestComplete"] = [&] { driver->Sink().DownloadProjectInProgress(3); };
  EXPECT_EQ(TimeOf([&] { spooler->DeliverNext(); }), ms(0));
  EXPECT_EQ(journal, (Log{"ReadRequestComplete 1", "DownloadProjectInProgress 3"}));
  EXPECT_TRUE(spooler->IsBusy());
}

TEST_F(EventSink, TheSpoolerItselfIsASinkAsWell) {
  const auto request = Send(RT_WriteGroupSync);
  spooler->AsyncWriteGroupComplete(9);
  EXPECT_EQ(request->Error(), 9);
  EXPECT_FALSE(spooler->IsBusy());
}

}  // namespace
}  // namespace orvo::testing
