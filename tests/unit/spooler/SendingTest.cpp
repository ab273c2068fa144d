#include "SpoolerFixture.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using Sending = SpoolerFixture;

struct KindRow {
  std::int32_t kind;
  std::string operation;  // of the driver
  Log sent;               // the journal when the driver takes it
  bool isGroup;
};

const std::string Items = "addresses=[10,20],dimensions=[1,1]";
const std::string OneItem = "addresses=[55],dimensions=[2]";
const std::string Values = ",values=[I4:5,I4:6])";

std::vector<KindRow> KindRows() {
  const std::string compile = "CompileVariable([1,2])";
  const std::string dimension = "GetDimension([1,2])";
  const Log readItems{compile, dimension, "ReadItems(" + Items + ")"};
  const Log writeItems{compile, dimension, "WriteItems(" + Items + Values};
  const Log readGroup{"EnsureDefined", "ReadGroup(groupId=7,buffer=[1,2,3])"};
  const Log writeGroup{"EnsureDefined", "WriteGroup(groupId=7,buffer=[8,9])"};
  return {
      {1, "ReadItems", readItems, false},
      {2, "WriteItems", writeItems, false},
      {3, "ReadItems", readItems, false},
      {4, "ReadItems", readItems, false},
      {5, "WriteItems", writeItems, false},
      {6, "ReadItems", {"ReadItems(" + OneItem + ")"}, false},
      {7, "WriteItems", {"WriteItems(" + OneItem + Values}, false},
      {9, "ReadGroup", readGroup, true},
      {10, "WriteGroup", writeGroup, true},
      {11, "ReadGroup", readGroup, true},
      {12, "ReadGroup", readGroup, true},
      {13, "WriteGroup", writeGroup, true},
  };
}

// What becomes of a request that the driver did not get.
void ExpectRefused(std::int32_t kind, const DataRequest& request, bool pending) {
  const bool list = kind >= 4 && kind <= 7;
  const bool whole = kind == 12 || kind == 13;
  EXPECT_EQ(LogText(request.Errors()), list ? "[99,99]" : "[0,0]");
  EXPECT_EQ(request.Error(), whole ? 99 : 0);
  EXPECT_EQ(pending, !list && !whole);
  EXPECT_EQ(request.IsConcluded(), list || whole);
}

TEST_F(Sending, ARequestThatTheDriverTakesIsInFlightUntilItsCompletion) {
  for (const KindRow& row : KindRows()) {
    SCOPED_TRACE("kind " + std::to_string(row.kind));
    timer.SyncRequestPending = true;
    bool busyInside = false;
    driver->during[row.operation] = [&] { busyInside = spooler->IsBusy(); };
    const auto request = Queue(row.kind);
    const auto next = Queue(RT_ReadItemSync);
    EXPECT_FALSE(spooler->IsBusy());
    spooler->ProcessNext();
    EXPECT_TRUE(busyInside);
    EXPECT_TRUE(spooler->IsBusy());
    spooler->ProcessNext();  // one at a time
    spooler->DeliverNext();
    EXPECT_EQ(TakeJournal(), row.sent);
    EXPECT_EQ(LogText(request->Errors()), "[0,0]");
    EXPECT_EQ(request->Error(), 0);
    EXPECT_FALSE(request->IsConcluded());
    EXPECT_TRUE(timer.SyncRequestPending);
    driver->during.clear();
    Complete();
    EXPECT_FALSE(spooler->IsBusy());
    spooler->ProcessNext();
    Complete();
    EXPECT_EQ(TakeJournal(), (Log{"ReadItems(" + OneItem + ")"}));
    DeliverAll();
    TakeJournal();
  }
}

TEST_F(Sending, ACallThatTheDriverFailsEndsTheRequestAsItsKindSays) {
  for (const KindRow& row : KindRows()) {
    SCOPED_TRACE("kind " + std::to_string(row.kind));
    timer.SyncRequestPending = true;
    driver->Fail(row.operation, 3, "refused", 1);
    const auto request = Queue(row.kind);
    EXPECT_EQ(ErrorOf([&] { spooler->ProcessNext(); }), "none");
    EXPECT_FALSE(spooler->IsBusy());
    DeliverAll();
    Log expected = row.sent;
    if (IsRated(row.kind)) expected.push_back("RefreshDropped");
    EXPECT_EQ(TakeJournal(), expected);
    ExpectRefused(row.kind, *request, timer.SyncRequestPending);
  }
}

TEST_F(Sending, AForeignExceptionOfTheDriverIsAFailedCallToo) {
  for (const KindRow& row : KindRows()) {
    SCOPED_TRACE("kind " + std::to_string(row.kind));
    timer.SyncRequestPending = true;
    driver->during[row.operation] = [] { throw std::runtime_error("foreign"); };
    const auto request = Send(row.kind);
    EXPECT_FALSE(spooler->IsBusy());
    DeliverAll();
    ExpectRefused(row.kind, *request, timer.SyncRequestPending);
    driver->during.clear();
  }
}

TEST_F(Sending, AGroupWithoutADefinitionIsNotSent) {
  for (const bool fails : {false, true}) {
    for (const KindRow& row : KindRows()) {
      if (!row.isGroup) continue;
      SCOPED_TRACE("kind " + std::to_string(row.kind) + (fails ? " question fails" : " answered false"));
      timer.SyncRequestPending = true;
      group->defined = fails;
      if (fails) group->during["EnsureDefined"] = [] { throw AutomationError(5, ""); };
      const auto request = Send(row.kind);
      EXPECT_FALSE(spooler->IsBusy());
      DeliverAll();
      Log expected{"EnsureDefined"};
      if (IsRated(row.kind)) expected.push_back("RefreshDropped");
      EXPECT_EQ(TakeJournal(), expected);
      ExpectRefused(row.kind, *request, timer.SyncRequestPending);
    }
  }
}

TEST_F(Sending, WhatCannotBeCompiledIsNeverSentAndCountsAsAFailedCall) {
  for (const char* question : {"CompileVariable", "GetDimension"}) {
    for (const std::int32_t kind : {1, 2, 3, 4, 5}) {
      SCOPED_TRACE(question + std::string(" kind ") + std::to_string(kind));
      timer.SyncRequestPending = true;
      group->during[question] = [] { RaiseRuntimeError(RuntimeError::Overflow); };
      const auto request = Send(kind);
      EXPECT_FALSE(spooler->IsBusy());
      DeliverAll();
      Log expected{"CompileVariable([1,2])"};
      if (question == std::string("GetDimension")) expected.push_back("GetDimension([1,2])");
      if (IsRated(kind)) expected.push_back("RefreshDropped");
      EXPECT_EQ(TakeJournal(), expected);
      ExpectRefused(kind, *request, timer.SyncRequestPending);
      group->during.clear();
    }
  }
  item->tooLong = true;
  for (const std::int32_t kind : {6, 7}) {
    timer.SyncRequestPending = true;
    const auto request = Send(kind);
    ExpectRefused(kind, *request, timer.SyncRequestPending);
    EXPECT_FALSE(spooler->IsBusy());
  }
  EXPECT_EQ(journal, Log{});
}

TEST_F(Sending, WithoutAGroupAnItemOrADriverTheCallHasFailed) {
  for (const KindRow& row : KindRows()) {
    SCOPED_TRACE("kind " + std::to_string(row.kind));
    for (const bool hasDriver : {true, false}) {
      timer.SyncRequestPending = true;
      spooler->PutDataComm(hasDriver ? driver : nullptr);
      TakeJournal();
      const auto request = Make(row.kind);
      if (hasDriver) request->PutReqGroup(nullptr);
      if (hasDriver) request->PutReqItem(nullptr);
      spooler->AddRequest(request);
      EXPECT_EQ(ErrorOf([&] { spooler->ProcessNext(); }), "none");
      EXPECT_FALSE(spooler->IsBusy());
      DeliverAll();
      ExpectRefused(row.kind, *request, timer.SyncRequestPending);
      Log expected;
      if (!hasDriver) {
        expected = row.sent;
        expected.pop_back();
        if (IsRated(row.kind)) expected.push_back("RefreshDropped");
      }
      EXPECT_EQ(TakeJournal(), expected);
    }
  }
}

TEST_F(Sending, AFailedReadOfThreeItemsLeaves99ForEachAndEndsTheWait) {
  driver->Fail("ReadItems", 99, "no line");
  const auto request = Make(RT_ReadGroupItemsSync);
  request->SetHandles({4, 5, 6});
  request->SetErrors({0, 0, 0});
  timer.SyncRequestPending = true;
  spooler->AddRequest(request);
  spooler->ProcessNext();
  EXPECT_EQ(LogText(request->Errors()), "[99,99,99]");
  EXPECT_EQ(request->Error(), 0);
  EXPECT_FALSE(timer.SyncRequestPending);

  driver->Fail("ReadGroup", 99, "no line");
  timer.SyncRequestPending = true;
  const auto whole = Send(RT_ReadGroupSync);
  EXPECT_EQ(whole->Error(), 99);
  EXPECT_EQ(LogText(whole->Errors()), "[0,0]");
  EXPECT_FALSE(timer.SyncRequestPending);
}

TEST_F(Sending, TheErrorsOfAFailedCallRunFromZeroToTheOldUpperBound) {
  struct Row {
    SafeArray<std::int32_t> errors;
    const char* expected;
  };
  std::vector<Row> rows{{{}, "[]"},
                        {{5}, "[99]"},
                        {{1, 2, 3}, "[99,99,99,99]"},
                        {{1, 2, 3}, "[99,99]"},
                        {{1, 2, 3}, "-5:[1,2,3]"}};
  rows[2].errors.Rebase(1);
  rows[3].errors.Rebase(-1);
  rows[4].errors.Rebase(-5);  // there is no such array: they stay
  driver->Fail("WriteItems", 1, "");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.expected);
    const auto request = Make(RT_WriteGroupItemsSync);
    request->SetErrors(row.errors);
    spooler->AddRequest(request);
    spooler->ProcessNext();
    EXPECT_EQ(LogText(request->Errors()), row.expected);
  }
}

TEST_F(Sending, AReadSendsTheGroupsBufferAndAWriteTheRequests) {
  group->buffer = {40, 41};
  group->groupId = -12;
  const auto read = Make(RT_ReadGroupAsync);
  read->SetBuffer({1});
  spooler->AddRequest(read);
  spooler->ProcessNext();
  Complete();
  const auto write = Make(RT_WriteGroupAsync);
  write->SetBuffer({50});
  spooler->AddRequest(write);
  spooler->ProcessNext();
  EXPECT_EQ(journal, (Log{"EnsureDefined", "ReadGroup(groupId=-12,buffer=[40,41])", "EnsureDefined",
                          "WriteGroup(groupId=-12,buffer=[50])"}));
}

TEST_F(Sending, AKindOutsideTheTableIsTakenAndNothingIsSentUntilACompletion) {
  for (const std::int32_t kind : {8, 14, 0, -1, 1000}) {
    SCOPED_TRACE("kind " + std::to_string(kind));
    timer.SyncRequestPending = true;
    Queue(kind);
    const auto next = Queue(RT_ReadItemSync);
    spooler->ProcessNext();
    EXPECT_TRUE(spooler->IsBusy());
    EXPECT_EQ(next->NextReq(), nullptr);  // it is the head now
    for (int k = 0; k < 3; ++k) {
      spooler->ProcessNext();
      spooler->DeliverNext();
    }
    platform.Advance(ms(60000));
    EXPECT_EQ(TakeJournal(), Log{});
    EXPECT_TRUE(spooler->IsBusy());
    EXPECT_TRUE(timer.SyncRequestPending);
    Complete();  // of the strange request itself
    EXPECT_FALSE(spooler->IsBusy());
    spooler->DeliverNext();
    EXPECT_EQ(TakeJournal(), Log{});
    spooler->ProcessNext();
    EXPECT_EQ(TakeJournal(), (Log{"ReadItems(" + OneItem + ")"}));
    Complete();
    DeliverAll();
    TakeJournal();
  }
}

TEST_F(Sending, RequestsAreSentOldestFirstAndThoseThatFailMakeRoomForTheNextCall) {
  driver->Fail("WriteItems", 1, "", 1);
  Queue(RT_WriteItemSync);
  Queue(RT_ReadItemSync);
  Queue(RT_ReadGroupAsync);
  spooler->ProcessNext();
  EXPECT_EQ(TakeJournal(), (Log{"WriteItems(" + OneItem + Values}));
  spooler->ProcessNext();
  EXPECT_EQ(TakeJournal(), (Log{"ReadItems(" + OneItem + ")"}));
  Complete();
  spooler->ProcessNext();
  EXPECT_EQ(TakeJournal(), (Log{"EnsureDefined", "ReadGroup(groupId=7,buffer=[1,2,3])"}));
}

TEST_F(Sending, AnEmptyQueueLeavesTheSpoolerIdleAndItsLockFree) {
  spooler->ProcessNext();
  EXPECT_FALSE(spooler->IsBusy());
  EXPECT_EQ(TimeOf([&] { EXPECT_EQ(spooler->AddRequest(Make(RT_ReadItemSync)), 1); }), ms(0));
  spooler->ProcessNext();
  EXPECT_TRUE(spooler->IsBusy());
}

TEST_F(Sending, ACompletionInsideTheDriversCallLeavesTheSpoolerIdle) {
  driver->during["ReadItems"] = [&] { Complete(); };
  Send(RT_ReadItemSync);
  EXPECT_FALSE(spooler->IsBusy());
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"ReadItems(" + OneItem + ")", "ReadRequestComplete 1"}));
}

TEST_F(Sending, ANestedCallWhileTheDriverIsAskedSendsNothing) {
  Queue(RT_ReadGroupAsync);
  Queue(RT_ReadItemSync);
  group->during["EnsureDefined"] = [&] { spooler->ProcessNext(); };
  driver->during["ReadGroup"] = [&] { spooler->ProcessNext(); };
  spooler->ProcessNext();
  EXPECT_EQ(journal, (Log{"EnsureDefined", "ReadGroup(groupId=7,buffer=[1,2,3])"}));
}

TEST_F(Sending, ARequestCanBeQueuedAgainOnceItIsFinished) {
  const auto request = Finish(RT_ReadItemSync);
  spooler->DeliverNext();
  EXPECT_EQ(spooler->AddRequest(request), 2);
  spooler->ProcessNext();
  Complete();
  spooler->DeliverNext();
  EXPECT_EQ(journal, (Log{"ReadItems(" + OneItem + ")", "ReadRequestComplete 1", "ReadItems(" + OneItem + ")",
                          "ReadRequestComplete 2"}));
}

}  // namespace
}  // namespace orvo::testing
