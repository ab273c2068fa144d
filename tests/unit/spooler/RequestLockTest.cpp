#include "SpoolerFixture.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace orvo::testing {
namespace {

class RequestLock : public SpoolerFixture {
 protected:
  // Runs `call` while the request queue is locked: inside Clear, at the end of the oldest record. The records
  // that are queued by `behind` stand behind it.
  void WhileLocked(std::function<void()> call, const std::function<void()>& behind = {}) {
    auto last = std::make_shared<FakeGroup>(journal);
    last->atEnd = std::move(call);
    auto request = Make(RT_ReadGroupAsync);
    request->PutReqGroup(std::move(last));
    spooler->AddRequest(request);
    request.reset();
    if (behind) behind();
    spooler->Clear();
  }
};

TEST_F(RequestLock, ARequestIsNotQueuedAndItsCallerStopsWaiting) {
  for (const std::int32_t kind : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}) {
    SCOPED_TRACE("kind " + std::to_string(kind));
    timer.SyncRequestPending = true;
    const auto request = Make(kind);
    std::int32_t id = -1;
    ms stall{0};
    WhileLocked([&] { stall = TimeOf([&] { id = spooler->AddRequest(request); }); });
    EXPECT_TRUE(IsBrokenLock(stall));
    EXPECT_EQ(id, 0);
    EXPECT_EQ(request->TransactionId(), 0);
    EXPECT_EQ(timer.SyncRequestPending, !IsSynchronous(kind));
    EXPECT_EQ(TakeJournal(), IsRated(kind) ? Log{"RefreshDropped"} : Log{});
    spooler->ProcessNext();
    EXPECT_EQ(journal, Log{});
  }
  EXPECT_EQ(spooler->AddRequest(Make(RT_ReadItemSync)), 15);  // only the fourteen that held the lock got one
}

TEST_F(RequestLock, TheBrokenLockIsFreeForTheNextCall) {
  std::vector<std::int32_t> ids;
  ms second{-1};
  WhileLocked([&] {
    ids.push_back(spooler->AddRequest(Make(RT_ReadItemSync)));
    second = TimeOf([&] { ids.push_back(spooler->AddRequest(Make(RT_ReadItemSync))); });
  });
  EXPECT_EQ(ids, (std::vector<std::int32_t>{0, 2}));
  EXPECT_EQ(second, ms(0));
}

TEST_F(RequestLock, NothingIsTakenForSendingAndTheSpoolerIsIdleAgain) {
  ms stall{0};
  bool busy = true;
  WhileLocked(
      [&] {
        stall = TimeOf([&] { spooler->ProcessNext(); });
        busy = spooler->IsBusy();
      },
      [&] { Queue(RT_ReadItemSync); });
  EXPECT_TRUE(IsBrokenLock(stall));
  EXPECT_FALSE(busy);
  EXPECT_EQ(journal, Log{});
  EXPECT_EQ(ErrorNumberOf([&] { Complete(); }), 91);  // no current request is left
}

TEST_F(RequestLock, ACancelHasNoEffectAndLeavesTheDeliveriesFree) {
  const auto waiting = Make(RT_ReadGroupAsync);
  ms stall{0};
  ms after{-1};
  WhileLocked(
      [&] {
        stall = TimeOf([&] { spooler->AsyncCancel(2); });
        after = TimeOf([&] { spooler->AddDeliver(Make(RT_WriteItemSync)); });
      },
      [&] { spooler->AddRequest(waiting); });
  EXPECT_TRUE(IsBrokenLock(stall));
  EXPECT_EQ(after, ms(0));
  for (int id = 3; id <= 999; ++id) {
    Queue(RT_WriteItemSync);
    spooler->Clear();
  }
  Queue(RT_WriteItemSync);
  spooler->AddRequest(waiting);
  EXPECT_EQ(waiting->TransactionId(), 2);
  spooler->ProcessNext();
  Complete();
  TakeJournal();
  spooler->ProcessNext();
  EXPECT_EQ(journal, (Log{"EnsureDefined", "ReadGroup(groupId=7,buffer=[1,2,3])"}));
}

TEST_F(RequestLock, AClearInsideSkipsTheRequestsAndEmptiesTheDeliveries) {
  ms stall{0};
  Log inside;
  const auto waiting = Make(RT_ReadItemSync);
  spooler->AddDeliver(Make(RT_WriteItemSync));
  WhileLocked(
      [&] {
        stall = TimeOf([&] { spooler->Clear(); });
        spooler->DeliverNext();
        spooler->ProcessNext();
        inside = TakeJournal();
      },
      [&] { spooler->AddRequest(waiting); });
  EXPECT_TRUE(IsBrokenLock(stall));
  EXPECT_EQ(inside, (Log{"ReadItems(addresses=[55],dimensions=[2])"}));
}

}  // namespace
}  // namespace orvo::testing
