#include "SpoolerFixture.h"

#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using Cancel = SpoolerFixture;

TEST_F(Cancel, AQueuedRequestThatIsCancelledIsDroppedWhenItsTurnComes) {
  struct Row {
    std::int32_t kind;
    Log expected;
  };
  const std::vector<Row> rows{
      {1, {"CancelRequestComplete 1"}},
      {2, {"CancelRequestComplete 1"}},
      {3, {"RefreshDropped"}},
      {4, {}},
      {5, {}},
      {6, {}},
      {7, {}},
      {8, {}},
      {9, {"CancelRequestComplete 1"}},
      {10, {"CancelRequestComplete 1"}},
      {11, {"RefreshDropped"}},
      {12, {}},
      {13, {}},
      {14, {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE("kind " + std::to_string(row.kind));
    const auto own = DataRequests::Create(platform);
    own->PutDataComm(driver);
    own->Events().Advise(events);
    const auto request = Make(row.kind);
    own->AddRequest(request);
    TakeJournal();
    timer.SyncRequestPending = true;
    own->AsyncCancel(1);
    EXPECT_EQ(journal, Log{});
    own->ProcessNext();
    own->DeliverNext();
    EXPECT_EQ(TakeJournal(), row.expected);
    EXPECT_FALSE(own->IsBusy());
    EXPECT_TRUE(timer.SyncRequestPending);
    EXPECT_EQ(LogText(request->Errors()), "[0,0]");
    EXPECT_EQ(request->Error(), 0);
    EXPECT_FALSE(request->IsConcluded());
    EXPECT_EQ(request->PriorReq(), nullptr);
    EXPECT_EQ(request->NextReq(), nullptr);
  }
}

TEST_F(Cancel, TheEventIsRaisedWhileTheSpoolerIsStillBusyWithTheRequest) {
  Queue(RT_ReadGroupAsync);
  Queue(RT_ReadItemSync);
  spooler->AsyncCancel(1);
  bool busy = false;
  events->handlers["CancelRequestComplete"] = [&] {
    busy = spooler->IsBusy();
    spooler->ProcessNext();
  };
  spooler->ProcessNext();
  EXPECT_TRUE(busy);
  EXPECT_EQ(journal, (Log{"CancelRequestComplete 1"}));
  EXPECT_FALSE(spooler->IsBusy());
}

TEST_F(Cancel, AnUnknownIdDoesNothing) {
  Queue(RT_ReadGroupAsync);
  for (const std::int32_t id : {2, 999, 1000, 0, -1})
    EXPECT_EQ(TimeOf([&] { spooler->AsyncCancel(id); }), ms(0));
  Queue(RT_ReadGroupAsync);  // gets 2, which was unknown before
  spooler->ProcessNext();
  Complete();
  spooler->ProcessNext();
  EXPECT_TRUE(spooler->IsBusy());
  EXPECT_EQ(journal.size(), 4U);
}

TEST_F(Cancel, ARequestInFlightIsCompletedAndDeliveredNormally) {
  Send(RT_ReadGroupAsync);
  TakeJournal();
  spooler->AsyncCancel(1);
  EXPECT_TRUE(spooler->IsBusy());
  Complete();
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"ReadRequestComplete 1"}));
}

TEST_F(Cancel, AStaleIdHitsTheNextRequestThatBearsItAndOnlyThat) {
  enum class When { InFlight, Finished, FinishedEarlier, Delivered };
  for (const When when : {When::InFlight, When::Finished, When::FinishedEarlier, When::Delivered}) {
    SCOPED_TRACE(static_cast<int>(when));
    const auto own = DataRequests::Create(platform);
    own->PutDataComm(driver);
    own->Events().Advise(events);
    const auto round = [&](std::int32_t kind) {
      own->AddRequest(Make(kind));
      own->ProcessNext();
      if (own->IsBusy()) driver->Sink().AsyncWriteGroupComplete(0);
      own->DeliverNext();
    };
    own->AddRequest(Make(RT_WriteGroupAsync));
    own->ProcessNext();
    if (when == When::InFlight) own->AsyncCancel(1);
    driver->Sink().AsyncWriteGroupComplete(0);
    if (when == When::Finished) own->AsyncCancel(1);
    if (when == When::FinishedEarlier) {
      own->AddRequest(Make(RT_WriteItemSync));
      own->ProcessNext();
      driver->Sink().AsyncWriteGroupComplete(0);
      own->AsyncCancel(1);
      own->DeliverNext();
    }
    own->DeliverNext();
    if (when == When::Delivered) own->AsyncCancel(1);
    for (int k = when == When::FinishedEarlier ? 3 : 2; k <= 999; ++k)
      round(RT_WriteItemSync);
    TakeJournal();
    round(RT_WriteGroupAsync);
    EXPECT_EQ(TakeJournal(), (Log{"CancelRequestComplete 1"}));
    for (int k = 2; k <= 999; ++k)
      round(RT_WriteItemSync);
    TakeJournal();
    round(RT_WriteGroupAsync);
    EXPECT_EQ(TakeJournal(),
              (Log{"EnsureDefined", "WriteGroup(groupId=7,buffer=[8,9])", "WriteRequestComplete 1"}));
  }
}

TEST_F(Cancel, AfterATickFoundTheQueueEmptyADeliveredRequestIsUnknown) {
  Finish(RT_WriteGroupAsync);
  spooler->DeliverNext();
  spooler->ProcessNext();
  spooler->AsyncCancel(1);
  for (int k = 2; k <= 999; ++k) {
    Queue(RT_WriteItemSync);
    spooler->Clear();
  }
  TakeJournal();
  Send(RT_WriteGroupAsync);
  EXPECT_EQ(journal, (Log{"EnsureDefined", "WriteGroup(groupId=7,buffer=[8,9])"}));
}

TEST_F(Cancel, TheListGrowsWithTheIdsAndKeepsThemAll) {
  Log expected;
  for (int id = 1; id <= 60; ++id)
    Queue(RT_ReadGroupAsync);
  for (int id = 60; id >= 1; --id) {
    if (id % 3 != 0) spooler->AsyncCancel(id);
  }
  for (int id = 1; id <= 60; ++id) {
    spooler->ProcessNext();
    if (spooler->IsBusy()) Complete();
    if (id == 30) spooler->AsyncCancel(33);  // into a slot that has become free
    if (id % 3 != 0 || id == 33) {
      expected.push_back("CancelRequestComplete " + std::to_string(id));
    } else {
      expected.insert(expected.end(), {"EnsureDefined", "ReadGroup(groupId=7,buffer=[1,2,3])"});
    }
  }
  EXPECT_EQ(journal, expected);
}

TEST_F(Cancel, AnIdThatIsCancelledTwiceDropsOneRequest) {
  Queue(RT_ReadGroupAsync);
  for (int k = 0; k < 3; ++k)
    spooler->AsyncCancel(1);
  spooler->ProcessNext();
  for (int id = 2; id <= 999; ++id) {
    Queue(RT_WriteItemSync);
    spooler->Clear();
  }
  spooler->ProcessNext();  // finds the queue empty
  TakeJournal();
  Send(RT_WriteGroupAsync);
  EXPECT_EQ(journal, (Log{"EnsureDefined", "WriteGroup(groupId=7,buffer=[8,9])"}));
}

TEST_F(Cancel, AnIdThatStandsInTheListTwiceDropsOneRequestToo) {
  Queue(RT_ReadGroupAsync);
  Queue(RT_ReadGroupAsync);
  spooler->AsyncCancel(1);
  spooler->AsyncCancel(2);
  spooler->ProcessNext();
  spooler->AsyncCancel(2);  // the slot of 1 is free and comes first
  spooler->ProcessNext();
  EXPECT_EQ(TakeJournal(), (Log{"CancelRequestComplete 1", "CancelRequestComplete 2"}));
  spooler->ProcessNext();  // no current request is left
  for (int k = 0; k < 998; ++k) {
    Queue(RT_WriteItemSync);
    spooler->Clear();
  }
  EXPECT_EQ(Send(RT_WriteGroupAsync)->TransactionId(), 2);
  EXPECT_EQ(journal, (Log{"EnsureDefined", "WriteGroup(groupId=7,buffer=[8,9])"}));
}

TEST_F(Cancel, AFreeSlotOfTheListIsNoCancelledId) {
  const auto request = Queue(RT_ReadItemSync);
  request->PutTransactionId(0);
  spooler->AsyncCancel(0);
  spooler->ProcessNext();
  EXPECT_EQ(journal, (Log{"ReadItems(addresses=[55],dimensions=[2])"}));
}

TEST_F(Cancel, InsideADeliveryItStallsTwoSecondsWithoutEffectAndBreaksTheLock) {
  Finish(RT_WriteItemSync);
  Queue(RT_ReadGroupAsync);
  TakeJournal();
  std::vector<ms> stalls;
  events->handlers["WriteRequestComplete"] = [&] {
    stalls.push_back(TimeOf([&] { spooler->AsyncCancel(2); }));
  };
  spooler->DeliverNext();
  ASSERT_EQ(stalls.size(), 1U);
  EXPECT_TRUE(IsBrokenLock(stalls[0]));
  spooler->ProcessNext();
  EXPECT_EQ(TakeJournal(),
            (Log{"WriteRequestComplete 1", "EnsureDefined", "ReadGroup(groupId=7,buffer=[1,2,3])"}));

  // The broken lock is free: a second call in the same handler has its effect at once.
  Complete();
  Queue(RT_ReadGroupAsync);
  stalls.clear();
  events->handlers["ReadRequestComplete"] = [&] {
    stalls.push_back(TimeOf([&] { spooler->AsyncCancel(3); }));
    stalls.push_back(TimeOf([&] { spooler->AsyncCancel(3); }));
  };
  spooler->DeliverNext();
  ASSERT_EQ(stalls.size(), 2U);
  EXPECT_TRUE(IsBrokenLock(stalls[0]));
  EXPECT_EQ(stalls[1], ms(0));
  spooler->ProcessNext();
  EXPECT_EQ(journal, (Log{"ReadRequestComplete 2", "CancelRequestComplete 3"}));
}

TEST_F(Cancel, BothLocksAreFreeAfterwards) {
  Queue(RT_ReadGroupAsync);
  EXPECT_EQ(TimeOf([&] {
              spooler->AsyncCancel(1);   // found
              spooler->AsyncCancel(77);  // not found
              spooler->AddRequest(Make(RT_ReadItemSync));
              spooler->AddDeliver(Make(RT_WriteItemSync));
              spooler->DeliverNext();
              spooler->ProcessNext();
            }),
            ms(0));
  EXPECT_EQ(journal, (Log{"WriteRequestComplete 0", "CancelRequestComplete 1"}));
}

}  // namespace
}  // namespace orvo::testing
