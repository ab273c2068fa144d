#include "SpoolerFixture.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using Delivery = SpoolerFixture;

TEST_F(Delivery, EachKindRaisesItsEventWithTheRecordItself) {
  struct Row {
    std::int32_t kind;
    const char* event;  // null for none
  };
  const std::vector<Row> rows{
      {1, "ReadRequestComplete"},
      {2, "WriteRequestComplete"},
      {3, "ReadRatedRequestComplete"},
      {4, "ReadRequestComplete"},
      {5, "WriteRequestComplete"},
      {6, "ReadRequestComplete"},
      {7, "WriteRequestComplete"},
      {8, nullptr},
      {9, "ReadRequestComplete"},
      {10, "WriteRequestComplete"},
      {11, "ReadRatedRequestComplete"},
      {12, "ReadRequestComplete"},
      {13, "WriteRequestComplete"},
      {14, nullptr},
      {0, nullptr},
      {-1, nullptr},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE("kind " + std::to_string(row.kind));
    const auto request = Make(row.kind);
    request->PutTransactionId(44);
    timer.SyncRequestPending = true;
    spooler->AddDeliver(request);
    spooler->DeliverNext();
    spooler->DeliverNext();
    Log expected;
    if (row.event != nullptr) {
      expected.push_back(std::string(row.event) + " 44");
      EXPECT_EQ(events->delivered.back(), request);
    }
    EXPECT_EQ(TakeJournal(), expected);
    EXPECT_TRUE(timer.SyncRequestPending);  // the handlers of the event clear it
  }
}

TEST_F(Delivery, OneFinishedRequestIsDeliveredPerCallOldestFirst) {
  for (const std::int32_t kind : {RT_ReadItemSync, RT_WriteGroupAsync, RT_ReadGroupAsyncRated})
    Finish(kind);
  TakeJournal();
  spooler->DeliverNext();
  EXPECT_EQ(TakeJournal(), (Log{"ReadRequestComplete 1"}));
  spooler->DeliverNext();
  EXPECT_EQ(TakeJournal(), (Log{"WriteRequestComplete 2"}));
  spooler->DeliverNext();
  EXPECT_EQ(TakeJournal(), (Log{"ReadRatedRequestComplete 3"}));
  spooler->DeliverNext();
  EXPECT_EQ(TakeJournal(), Log{});
  EXPECT_EQ(platform.Now(), ms(0));
}

TEST_F(Delivery, FinishedRequestsAreLinkedLikeWaitingOnesAndUnlinkedWhenTheyAreTaken) {
  const auto one = Finish(RT_ReadItemSync);
  const auto two = Finish(RT_ReadItemSync);
  const auto three = Finish(RT_ReadItemSync);
  EXPECT_EQ(one->NextReq(), nullptr);
  EXPECT_EQ(one->PriorReq(), two);
  EXPECT_EQ(two->NextReq(), one);
  EXPECT_EQ(two->PriorReq(), three);
  EXPECT_EQ(three->NextReq(), two);
  EXPECT_EQ(three->PriorReq(), nullptr);
  int handled = 0;
  events->handlers["ReadRequestComplete"] = [&] {
    ++handled;
    EXPECT_EQ(one->PriorReq(), nullptr);
    EXPECT_EQ(one->NextReq(), nullptr);
    EXPECT_EQ(two->NextReq(), nullptr);
    EXPECT_EQ(two->PriorReq(), three);
    EXPECT_EQ(three->NextReq(), two);
  };
  spooler->DeliverNext();
  EXPECT_EQ(handled, 1);
}

TEST_F(Delivery, AddDeliverEmptiesThePriorReqThatARecordBringsAlong) {
  const auto request = Make(RT_ReadItemSync);
  request->PutPriorReq(Make(RT_ReadItemSync));
  spooler->AddDeliver(request);
  EXPECT_EQ(request->PriorReq(), nullptr);
  EXPECT_EQ(request->TransactionId(), 0);  // ids are given to requests only
  spooler->DeliverNext();
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"ReadRequestComplete 0"}));
}

TEST_F(Delivery, NoRecordAndOneThatWaitsToBeSentAreNotAppended) {
  spooler->AddDeliver(nullptr);
  timer.SyncRequestPending = true;
  const auto waiting = Queue(RT_ReadItemSync);
  spooler->AddDeliver(waiting);
  EXPECT_FALSE(timer.SyncRequestPending);  // who waits for it waits in vain
  DeliverAll();
  EXPECT_EQ(journal, Log{});
  EXPECT_EQ(platform.Now(), ms(0));
}

TEST_F(Delivery, MessagesArePumpedOnceBeforeTheEventAndNotAtAllWhenNothingWaits) {
  platform.Post([&] { journal.push_back("posted"); });
  spooler->DeliverNext();
  EXPECT_EQ(journal, Log{});
  const auto one = Finish(RT_ReadItemSync);
  const auto two = Finish(RT_ReadItemSync);
  TakeJournal();
  platform.Post([&] {
    platform.Post([&] { journal.push_back("second pass"); });
    // The head is still in the queue while messages are pumped.
    EXPECT_EQ(one->PriorReq(), two);
    EXPECT_EQ(two->NextReq(), one);
  });
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"posted", "ReadRequestComplete 1"}));
}

TEST_F(Delivery, ACompletionThatArrivesInThePumpWaitsForTheLockAndIsLost) {
  for (const std::int32_t kind : {RT_ReadItemSync, RT_ReadGroupAsync, RT_ReadGroupAsyncRated}) {
    SCOPED_TRACE("kind " + std::to_string(kind));
    const auto delivered = Finish(RT_WriteGroupAsync);
    const auto lost = Send(kind);
    TakeJournal();
    timer.SyncRequestPending = true;
    ms stall{0};
    platform.Post([&] { stall = TimeOf([&] { Complete(); }); });
    spooler->DeliverNext();
    EXPECT_TRUE(IsBrokenLock(stall));
    EXPECT_FALSE(spooler->IsBusy());
    EXPECT_EQ(timer.SyncRequestPending, kind != RT_ReadItemSync);
    EXPECT_FALSE(lost->IsConcluded());
    DeliverAll();
    Log expected{"WriteRequestComplete " + std::to_string(delivered->TransactionId())};
    if (IsRated(kind)) expected.insert(expected.begin(), "RefreshDropped");
    EXPECT_EQ(TakeJournal(), expected);
  }
}

TEST_F(Delivery, ACompletionInsideAHandlerWaitsForTheLockAndIsLost) {
  for (const std::int32_t kind : {13, 9, 3, 8}) {
    SCOPED_TRACE("kind " + std::to_string(kind));
    Finish(RT_WriteGroupAsync);
    const auto lost = Send(kind);
    TakeJournal();
    timer.SyncRequestPending = true;
    ms stall{0};
    events->handlers["WriteRequestComplete"] = [&] { stall = TimeOf([&] { Complete(); }); };
    spooler->DeliverNext();
    EXPECT_TRUE(IsBrokenLock(stall));
    EXPECT_FALSE(spooler->IsBusy());
    EXPECT_EQ(timer.SyncRequestPending, kind != RT_WriteGroupSync);
    EXPECT_FALSE(lost->IsConcluded());
    TakeJournal();
    DeliverAll();
    EXPECT_EQ(journal, Log{});
  }
}

TEST_F(Delivery, ALostRefreshIsReportedAsDropped) {
  Finish(RT_WriteGroupAsync);
  Send(RT_ReadGroupItemsAsyncRated);
  TakeJournal();
  events->handlers["WriteRequestComplete"] = [&] { Complete(); };
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"WriteRequestComplete 1", "RefreshDropped"}));
}

TEST_F(Delivery, WhileACompletionWaitsForTheLockItsRequestIsStillInFlight) {
  Finish(RT_WriteGroupAsync);
  Send(RT_ReadItemSync);
  Queue(RT_ReadItemSync);
  TakeJournal();
  bool busy = false;
  events->handlers["WriteRequestComplete"] = [&] {
    platform.Post([&] {
      busy = spooler->IsBusy();
      spooler->ProcessNext();
    });
    Complete();
    journal.push_back("completed");
    spooler->ProcessNext();
  };
  spooler->DeliverNext();
  EXPECT_TRUE(busy);
  EXPECT_EQ(journal, (Log{"WriteRequestComplete 1", "completed", "ReadItems(addresses=[55],dimensions=[2])"}));
}

TEST_F(Delivery, ADeliveryInsideAHandlerGivesUpAndReleasesASynchronousCaller) {
  struct Row {
    std::int32_t waiting;  // what waits for its delivery meanwhile, 0 for nothing
    bool pending;
  };
  for (const Row& row :
       {Row{RT_ReadGroupSync, false}, Row{RT_ReadGroupAsync, true}, Row{8, true}, Row{0, true}}) {
    SCOPED_TRACE("waiting " + std::to_string(row.waiting));
    spooler->AddDeliver(Make(RT_WriteGroupAsync));
    if (row.waiting != 0) spooler->AddDeliver(Make(row.waiting));
    timer.SyncRequestPending = true;
    ms stall{0};
    events->handlers["WriteRequestComplete"] = [&] { stall = TimeOf([&] { spooler->DeliverNext(); }); };
    spooler->DeliverNext();
    EXPECT_TRUE(IsBrokenLock(stall));
    EXPECT_EQ(timer.SyncRequestPending, row.pending);
    EXPECT_EQ(TakeJournal(), (Log{"WriteRequestComplete 0"}));
    // Only the attempt was given up, not the record.
    DeliverAll();
    EXPECT_EQ(TakeJournal().size(), row.waiting == 0 || row.waiting == 8 ? 0U : 1U);
  }
}

TEST_F(Delivery, AfterTheBreakALaterCallInTheSameHandlerDelivers) {
  Finish(RT_WriteGroupAsync);
  Finish(RT_ReadItemSync);
  TakeJournal();
  events->handlers["WriteRequestComplete"] = [&] {
    spooler->DeliverNext();
    spooler->DeliverNext();
    journal.push_back("handler ends");
  };
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"WriteRequestComplete 1", "ReadRequestComplete 2", "handler ends"}));
}

TEST_F(Delivery, ARecordThatWasDeliveredInsideThePumpIsNotDeliveredAgain) {
  Finish(RT_WriteGroupAsync);
  Finish(RT_ReadItemSync);
  TakeJournal();
  platform.Post([&] {
    spooler->DeliverNext();  // breaks the lock
    spooler->DeliverNext();
  });
  spooler->DeliverNext();
  EXPECT_EQ(TakeJournal(), (Log{"WriteRequestComplete 1"}));
  EXPECT_EQ(TimeOf([&] { DeliverAll(3); }), ms(0));
  EXPECT_EQ(journal, (Log{"ReadRequestComplete 2"}));
}

TEST_F(Delivery, TheLockIsFreeAfterAHandlerThatFailsAndTheOtherSinksAreCalled) {
  const auto second = std::make_shared<SpoolerEventLog>(journal);
  spooler->Events().Advise(second);
  Finish(RT_WriteGroupAsync);
  Finish(RT_WriteGroupAsync);
  TakeJournal();
  events->handlers["WriteRequestComplete"] = [] { throw std::runtime_error("a client's own"); };
  EXPECT_EQ(ErrorOf([&] { spooler->DeliverNext(); }), "none");
  EXPECT_EQ(TimeOf([&] { spooler->DeliverNext(); }), ms(0));
  EXPECT_EQ(journal, (Log{"WriteRequestComplete 1", "WriteRequestComplete 1", "WriteRequestComplete 2",
                          "WriteRequestComplete 2"}));
}

TEST_F(Delivery, RequestsCanBeAddedAndSentInsideAHandler) {
  Finish(RT_WriteGroupAsync);
  TakeJournal();
  events->handlers["WriteRequestComplete"] = [&] {
    EXPECT_EQ(spooler->AddRequest(Make(RT_ReadItemSync)), 2);
    spooler->ProcessNext();
  };
  EXPECT_EQ(TimeOf([&] { spooler->DeliverNext(); }), ms(0));
  EXPECT_EQ(journal, (Log{"WriteRequestComplete 1", "ReadItems(addresses=[55],dimensions=[2])"}));
}

TEST_F(Delivery, ALockHeldAcrossMidnightIsBrokenAtOnce) {
  platform.PutLocalTime({2024, 1, 15, 23, 59, 59, 700});
  Finish(RT_WriteGroupAsync);
  Send(RT_ReadItemSync);
  ms stall{0};
  events->handlers["WriteRequestComplete"] = [&] { stall = TimeOf([&] { Complete(); }); };
  spooler->DeliverNext();
  EXPECT_GE(stall, ms(300));
  EXPECT_LT(stall, ms(400));
  TakeJournal();
  DeliverAll();
  EXPECT_EQ(journal, Log{});
}

using Clearing = SpoolerFixture;

TEST_F(Clearing, BothQueuesAreEmptiedAndTheirRecordsUnlinked) {
  const auto finished = Finish(RT_ReadItemSync);
  const auto second = Finish(RT_ReadItemSync);
  const auto waiting = Queue(RT_ReadGroupAsync);
  const auto last = Queue(RT_ReadGroupAsync);
  TakeJournal();
  timer.SyncRequestPending = true;
  spooler->Clear();
  for (const auto& request : {finished, second, waiting, last}) {
    EXPECT_EQ(request->PriorReq(), nullptr);
    EXPECT_EQ(request->NextReq(), nullptr);
  }
  spooler->ProcessNext();
  DeliverAll();
  EXPECT_EQ(journal, Log{});
  EXPECT_TRUE(timer.SyncRequestPending);
  EXPECT_EQ(platform.Now(), ms(0));
  EXPECT_EQ(spooler->AddRequest(waiting), 5);  // the next id goes on
}

TEST_F(Clearing, ARequestInFlightIsNotTouchedAndItsCompletionIsDelivered) {
  Send(RT_ReadItemSync);
  Queue(RT_ReadGroupAsync);
  spooler->Clear();
  EXPECT_TRUE(spooler->IsBusy());
  TakeJournal();
  Complete();
  spooler->ProcessNext();
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"ReadRequestComplete 1"}));
}

TEST_F(Clearing, TheCancelListIsNotTouched) {
  Queue(RT_WriteGroupAsync);
  spooler->AsyncCancel(1);
  spooler->Clear();
  for (int id = 2; id <= 999; ++id) {
    Queue(RT_WriteItemSync);
    spooler->Clear();
  }
  Send(RT_WriteGroupAsync);
  EXPECT_EQ(journal, (Log{"CancelRequestComplete 1"}));
}

TEST_F(Clearing, InsideAHandlerTheDeliveriesStayAfterAStall) {
  Finish(RT_WriteGroupAsync);
  Finish(RT_ReadItemSync);
  Queue(RT_ReadGroupAsync);
  TakeJournal();
  ms stall{0};
  events->handlers["WriteRequestComplete"] = [&] { stall = TimeOf([&] { spooler->Clear(); }); };
  spooler->DeliverNext();
  EXPECT_TRUE(IsBrokenLock(stall));
  spooler->ProcessNext();
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"WriteRequestComplete 1", "ReadRequestComplete 2"}));
}

TEST_F(Clearing, RefreshesThatAreClearedAreReportedAsDropped) {
  Queue(RT_ReadGroupItemsAsyncRated);
  Queue(RT_ReadGroupAsync);
  Queue(RT_ReadGroupAsyncRated);
  spooler->AddDeliver(Make(RT_ReadGroupAsyncRated));
  spooler->Clear();
  EXPECT_EQ(journal, (Log{"RefreshDropped", "RefreshDropped", "RefreshDropped"}));
}

}  // namespace
}  // namespace orvo::testing
