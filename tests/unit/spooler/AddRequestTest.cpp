#include "SpoolerFixture.h"
#include "errors/modIDataErrors.h"

#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using AddRequest = SpoolerFixture;

std::string QueueFull() {
  return std::to_string(errQueueFull) + ": Queue full: ";
}

TEST_F(AddRequest, TheFirstRequestGetsId1The999thGets999AndTheNextGets1Again) {
  for (std::int32_t id = 1; id <= 999; ++id) {
    const auto request = Make(RT_ReadGroupItemsAsync);
    ASSERT_EQ(spooler->AddRequest(request), id);
    ASSERT_EQ(request->TransactionId(), id);
    if (id < 999) spooler->Clear();
  }
  spooler->Clear();
  EXPECT_EQ(spooler->AddRequest(Make(RT_ReadGroupItemsAsync)), 1);
  EXPECT_EQ(spooler->AddRequest(Make(RT_ReadGroupItemsAsync)), 2);
}

TEST_F(AddRequest, WithRequest1OutstandingAndTheOthersHandedOutTheNextRaisesQueueFull) {
  std::vector<std::shared_ptr<DataRequest>> queued;
  for (std::int32_t id = 1; id <= 999; ++id)
    queued.push_back(Queue(RT_ReadGroupItemsAsync));
  timer.SyncRequestPending = true;
  const auto refused = Make(RT_ReadItemSync);
  refused->PutTransactionId(-3);
  EXPECT_EQ(ErrorOf([&] { spooler->AddRequest(refused); }), QueueFull());
  // Nothing changed and the lock is free.
  EXPECT_EQ(TimeOf([&] { EXPECT_EQ(ErrorOf([&] { spooler->AddRequest(refused); }), QueueFull()); }), ms(0));
  EXPECT_EQ(refused->TransactionId(), -3);
  EXPECT_EQ(refused->NextReq(), nullptr);
  EXPECT_EQ(queued.back()->PriorReq(), nullptr);
  EXPECT_TRUE(timer.SyncRequestPending);
  EXPECT_EQ(journal, Log{});
  // In flight and finished it is outstanding still; so it is when it was delivered, until the next is taken.
  spooler->ProcessNext();
  EXPECT_EQ(ErrorOf([&] { spooler->AddRequest(refused); }), QueueFull());
  Complete();
  EXPECT_EQ(ErrorOf([&] { spooler->AddRequest(refused); }), QueueFull());
  spooler->DeliverNext();
  EXPECT_EQ(ErrorOf([&] { spooler->AddRequest(refused); }), QueueFull());
  spooler->ProcessNext();
  EXPECT_EQ(spooler->AddRequest(refused), 1);
  EXPECT_EQ(ErrorOf([&] { spooler->AddRequest(Make(RT_ReadGroupItemsAsync)); }), QueueFull());
}

TEST_F(AddRequest, WithEmptyQueuesAndNoCurrentRequestItNeverReportsFull) {
  for (int k = 0; k < 2500; ++k) {
    EXPECT_EQ(spooler->AddRequest(Make(RT_ReadGroupItemsAsync)), k % 999 + 1);
    spooler->Clear();
  }
}

TEST_F(AddRequest, OnlyOneIdIsLookedAtTheDeliveryHeadsElseTheCurrentOnesElseTheRequestHeads) {
  struct Row {
    const char* name;
    std::int32_t delivery;  // id of the delivery head, 0 for none
    std::int32_t current;
    std::int32_t request;
    std::vector<std::string> ids;  // of three requests added now; the next id is 3
  };
  const std::vector<Row> rows{
      {"nothing outstanding", 0, 0, 0, {"3", "4", "5"}},
      {"request head", 0, 0, 3, {"full", "full", "full"}},
      {"request head further on", 0, 0, 5, {"3", "4", "full"}},
      {"current", 0, 4, 0, {"3", "full", "full"}},
      {"current before request head", 0, 5, 3, {"3", "4", "full"}},
      {"delivery head", 3, 0, 0, {"full", "full", "full"}},
      {"delivery head before current", 5, 3, 0, {"3", "4", "full"}},
      {"delivery head before both", 900, 4, 3, {"3", "4", "5"}},
      {"current hides an equal request head", 0, 900, 3, {"3", "4", "5"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const auto own = DataRequests::Create(platform);
    own->PutDataComm(driver);
    const auto current = Make(RT_ReadGroupItemsAsync);
    const auto waiting = Make(RT_ReadGroupItemsAsync);
    const auto finished = Make(RT_ReadGroupItemsAsync);
    own->AddRequest(current);
    row.current != 0 ? own->ProcessNext() : own->Clear();
    own->AddRequest(waiting);
    if (row.request == 0) own->Clear();
    current->PutTransactionId(row.current);
    waiting->PutTransactionId(row.request);
    finished->PutTransactionId(row.delivery);
    if (row.delivery != 0) own->AddDeliver(finished);
    std::vector<std::string> ids;
    for (int k = 0; k < 3; ++k) {
      try {
        ids.push_back(std::to_string(own->AddRequest(Make(RT_ReadGroupItemsAsync))));
      } catch (const AutomationError& error) {
        ids.push_back(error.Number() == errQueueFull ? "full" : error.Description());
      }
    }
    EXPECT_EQ(ids, row.ids);
  }
}

TEST_F(AddRequest, ARequestIsAppendedBehindTheTailAndTheIdOfTheNewTailIsTheResult) {
  const auto one = Make(RT_ReadGroupItemsAsync);
  const auto two = Make(RT_WriteGroupItemsSync);
  const auto three = Make(RT_ReadGroupItemsAsyncRated);
  EXPECT_EQ(spooler->AddRequest(one), 1);
  EXPECT_EQ(spooler->AddRequest(two), 2);
  EXPECT_EQ(spooler->AddRequest(three), 3);
  EXPECT_EQ(one->NextReq(), nullptr);
  EXPECT_EQ(one->PriorReq(), two);
  EXPECT_EQ(two->NextReq(), one);
  EXPECT_EQ(two->PriorReq(), three);
  EXPECT_EQ(three->NextReq(), two);
  EXPECT_EQ(three->PriorReq(), nullptr);
  spooler->ProcessNext();
  EXPECT_EQ(one->PriorReq(), nullptr);
  EXPECT_EQ(two->NextReq(), nullptr);
  EXPECT_EQ(two->PriorReq(), three);
}

TEST_F(AddRequest, TheTickTheKindAndTheArraysAreTheBuildersAndStayAsTheyAre) {
  const auto request = Make(RT_WriteGroupItemsAsync);
  request->PutTickSent(-5);
  request->PutError(3);
  spooler->AddRequest(request);
  EXPECT_EQ(request->TickSent(), -5);
  EXPECT_EQ(request->Error(), 3);
  EXPECT_EQ(request->RequestType(), RT_WriteGroupItemsAsync);
  EXPECT_EQ(LogText(request->Handles()), "[1,2]");
  EXPECT_EQ(LogText(request->DATAValues()), "[I4:5,I4:6]");
  EXPECT_EQ(LogText(request->Errors()), "[0,0]");
}

TEST_F(AddRequest, NoRecordAndOneThatIsInAQueueAreNotQueuedAndUseNoId) {
  EXPECT_EQ(spooler->AddRequest(nullptr), 0);
  const auto waiting = Queue(RT_ReadGroupItemsAsync);
  EXPECT_EQ(spooler->AddRequest(waiting), 0);
  EXPECT_EQ(waiting->TransactionId(), 1);
  const auto finished = Make(RT_ReadGroupItemsAsync);
  spooler->AddDeliver(finished);
  EXPECT_EQ(spooler->AddRequest(finished), 0);
  EXPECT_EQ(finished->TransactionId(), 0);
  spooler->DeliverNext();
  EXPECT_EQ(spooler->AddRequest(finished), 2);
  EXPECT_EQ(waiting->PriorReq(), finished);
  EXPECT_EQ(platform.Now(), ms(0));
}

}  // namespace
}  // namespace orvo::testing
