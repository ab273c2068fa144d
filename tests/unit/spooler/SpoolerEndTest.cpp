#include "SpoolerFixture.h"

#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using SpoolerEnd = SpoolerFixture;

TEST_F(SpoolerEnd, WhatWaitsIsInFlightOrIsFinishedEndsWithTheSpooler) {
  const std::int64_t before = AutomationObject::LiveCount();
  Finish(RT_ReadItemSync);
  Finish(RT_ReadGroupAsyncRated);
  Send(RT_WriteGroupAsync);
  for (int k = 0; k < 500; ++k)
    Queue(RT_ReadGroupItemsAsyncRated);
  spooler->AsyncCancel(30);
  Complete();
  Complete();
  spooler->ProcessNext();
  EXPECT_GT(AutomationObject::LiveCount(), before + 500);
  spooler->StartSpooler();
  spooler.reset();
  EXPECT_EQ(AutomationObject::LiveCount(), before - 1);
  EXPECT_EQ(platform.TimersAlive(), 0U);
  EXPECT_EQ(group.use_count(), 1);
}

TEST_F(SpoolerEnd, TheDriverIsReleased) {
  EXPECT_EQ(driver.use_count(), 2);
  spooler.reset();
  EXPECT_EQ(driver.use_count(), 1);
}

TEST_F(SpoolerEnd, ADriverDoesNotKeepTheSpoolerAliveAndItsCallsFailWith91Afterwards) {
  Send(RT_ReadItemSync);
  const std::weak_ptr<DataRequests> weak = spooler;
  spooler.reset();
  EXPECT_TRUE(weak.expired());
  ASSERT_TRUE(driver->HasSink());
  IEventNotify& sink = driver->Sink();
  TakeJournal();
  EXPECT_EQ(ErrorOf([&] { sink.AsyncReadComplete({}, {}); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.AsyncReadGroupComplete({}, 0); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.AsyncWriteComplete({}); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.AsyncWriteGroupComplete(0); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.DownloadFirmwareComplete(); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.DownloadFirmwareInProgress(1); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.DownloadProjectComplete(); }), NotSet);
  EXPECT_EQ(ErrorOf([&] { sink.DownloadProjectInProgress(1); }), NotSet);
  EXPECT_EQ(journal, Log{});
}

TEST_F(SpoolerEnd, TheLastReferenceMayGoInsideAnyCallback) {
  struct Row {
    const char* name;
    std::function<void()> run;
  };
  const std::vector<Row> rows{
      {"delivery", [&] { Finish(RT_WriteGroupAsync), Finish(RT_ReadItemSync), spooler->DeliverNext(); }},
      {"cancelled", [&] { Queue(RT_ReadGroupAsync), spooler->AsyncCancel(1), spooler->ProcessNext(); }},
      {"driver call", [&] { Queue(RT_WriteItemSync), Queue(RT_WriteItemSync), spooler->ProcessNext(); }},
      {"definition", [&] { Queue(RT_ReadGroupAsyncRated), spooler->ProcessNext(); }},
      {"dropped refresh",
       [&] {
         driver->Fail("ReadItems", 1, "", 1);
         Queue(RT_ReadGroupItemsAsyncRated), Queue(RT_ReadItemSync), spooler->ProcessNext();
       }},
      {"cleared refresh", [&] { Queue(RT_ReadGroupItemsAsyncRated), Queue(8), spooler->Clear(); }},
      {"download", [&] { spooler->DownloadProject("p.obj"); }},
      {"group read completion",
       [&] {
         Send(RT_ReadGroupSync);
         group->during["PutLastUseTick"] = [&] { spooler.reset(); };
         driver->Sink().AsyncReadGroupComplete({}, 0);
       }},
      {"pump of a delivery",
       [&] {
         Finish(RT_WriteGroupSync);
         platform.Post([&] { spooler.reset(); });
         spooler->DeliverNext();
       }},
      {"sink",
       [&] {
         const auto second = std::make_shared<ScriptedDriver>();
         second->during["SetEventSink"] = [&] { spooler.reset(); };
         spooler->PutDataComm(second);
       }},
  };
  const auto end = [&] { spooler.reset(); };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    spooler = DataRequests::Create(platform);
    spooler->PutDataComm(driver);
    spooler->Events().Advise(events);
    timer.RegisterSpooler(spooler);
    group->during.clear();
    for (const char* event : {"WriteRequestComplete", "CancelRequestComplete", "DownloadProjectInProgress"})
      events->handlers[event] = end;
    driver->during["WriteItems"] = end;
    driver->during["DownloadProject"] = [&] { driver->Sink().DownloadProjectInProgress(1); };
    if (row.name == std::string("definition")) group->during["EnsureDefined"] = end;
    group->during["RefreshDropped"] = end;
    const std::weak_ptr<DataRequests> weak = spooler;
    row.run();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(spooler, nullptr);
    events->delivered.clear();
    events->handlers.clear();
    driver->during.clear();
  }
  group->during.clear();
}

TEST_F(SpoolerEnd, ASpoolerThatWasNeverRegisteredEndsWithoutTouchingTheTimer) {
  spooler->StartSpooler();
  DataRequests::Create(platform).reset();
  EXPECT_EQ(platform.TimersAlive(), 1U);
  EXPECT_FALSE(timer.ServerTerminating);
  EXPECT_TRUE(timer.IsRegistered(*spooler));
}

TEST_F(SpoolerEnd, AGroupThatEndsInsideClearMayCallTheSpoolerAgain) {
  auto last = std::make_shared<FakeGroup>(journal);
  last->atEnd = [&] {
    journal.push_back("group ends");
    spooler->AddRequest(Make(RT_ReadItemSync));
  };
  {
    const auto request = Make(RT_ReadGroupAsync);
    request->PutReqGroup(std::move(last));
    spooler->AddRequest(request);
  }
  spooler->Clear();
  EXPECT_EQ(journal, (Log{"group ends"}));
}

}  // namespace
}  // namespace orvo::testing
