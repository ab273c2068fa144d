#include "SpoolerFixture.h"
#include "spooler/RequestQueue.h"

#include <vector>

namespace orvo::testing {
namespace {

std::shared_ptr<DataRequest> Record(std::int32_t id) {
  auto request = DataRequest::Create();
  request->PutTransactionId(id);
  return request;
}

// "2<1>3" for each record from the head to the tail: NextReq, the record, PriorReq; "-" for none.
std::string Links(const RequestQueue& queue) {
  const auto id = [](const std::shared_ptr<DataRequest>& record) {
    return record ? std::to_string(record->TransactionId()) : std::string("-");
  };
  std::string text;
  for (auto record = queue.Head(); record; record = record->PriorReq()) {
    if (!text.empty()) text += ' ';
    text += id(record->NextReq()) + '<' + id(record) + '>' + id(record->PriorReq());
    if (text.size() > 200) break;
  }
  return text + " tail " + id(queue.Tail());
}

class Queued : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(AutomationObject::LiveCount(), before_); }

 private:
  std::int64_t before_ = AutomationObject::LiveCount();
};

TEST_F(Queued, EachRecordPointsToTheOneQueuedAfterItAndTheOneQueuedBeforeIt) {
  RequestQueue queue;
  EXPECT_EQ(Links(queue), " tail -");
  EXPECT_TRUE(queue.Append(Record(1)));
  EXPECT_EQ(Links(queue), "-<1>- tail 1");
  EXPECT_TRUE(queue.Append(Record(2)));
  EXPECT_EQ(Links(queue), "-<1>2 1<2>- tail 2");
  EXPECT_TRUE(queue.Append(Record(3)));
  EXPECT_EQ(Links(queue), "-<1>2 1<2>3 2<3>- tail 3");
}

TEST_F(Queued, TakingTheHeadEmptiesItsLinksAndTheNewHeadsNextReq) {
  RequestQueue queue;
  for (const int id : {1, 2, 3})
    queue.Append(Record(id));
  const auto first = queue.TakeHead();
  EXPECT_EQ(first->TransactionId(), 1);
  EXPECT_EQ(first->PriorReq(), nullptr);
  EXPECT_EQ(first->NextReq(), nullptr);
  EXPECT_EQ(Links(queue), "-<2>3 2<3>- tail 3");
  EXPECT_EQ(queue.TakeHead()->TransactionId(), 2);
  const auto last = queue.TakeHead();
  EXPECT_EQ(last->TransactionId(), 3);
  EXPECT_EQ(last->NextReq(), nullptr);
  EXPECT_EQ(Links(queue), " tail -");
  EXPECT_EQ(queue.TakeHead(), nullptr);
  queue.Append(first);
  EXPECT_EQ(Links(queue), "-<1>- tail 1");
}

TEST_F(Queued, LinksThatARecordBringsAlongAreReplaced) {
  RequestQueue queue;
  const auto stray = Record(9);
  for (const int id : {1, 2}) {
    const auto record = Record(id);
    record->PutPriorReq(stray);
    record->PutNextReq(stray);
    queue.Append(record);
  }
  EXPECT_EQ(Links(queue), "-<1>2 1<2>- tail 2");
}

TEST_F(Queued, ARecordThatIsAppendedAgainComesOutOnceMoreAndIsNeverLinkedToItself) {
  RequestQueue queue;
  const auto one = Record(1);
  const auto two = Record(2);
  queue.Append(one);
  EXPECT_TRUE(queue.Append(one));
  EXPECT_EQ(Links(queue), "-<1>- tail 1");
  queue.Append(two);
  EXPECT_TRUE(queue.Append(one));
  EXPECT_EQ(Links(queue), "-<1>2 1<2>- tail 2");
  std::vector<std::int32_t> ids;
  while (const auto taken = queue.TakeHead())
    ids.push_back(taken->TransactionId());
  EXPECT_EQ(ids, (std::vector<std::int32_t>{1, 1, 1, 2}));
  queue.Append(one);
  EXPECT_EQ(queue.TakeHead(), one);
  EXPECT_EQ(queue.TakeHead(), nullptr);
}

TEST_F(Queued, ARecordOfAnotherQueueAndNoRecordAreRefusedAndChangeNothing) {
  RequestQueue queue;
  RequestQueue other;
  const auto record = Record(1);
  queue.Append(record);
  queue.Append(Record(2));
  other.Append(Record(3));
  EXPECT_FALSE(other.Append(record));
  EXPECT_FALSE(other.Append(nullptr));
  EXPECT_EQ(Links(queue), "-<1>2 1<2>- tail 2");
  EXPECT_EQ(Links(other), "-<3>- tail 3");
  EXPECT_TRUE(queue.Holds(*record));
  EXPECT_FALSE(other.Holds(*record));
  queue.TakeHead();
  EXPECT_FALSE(queue.Holds(*record));
  EXPECT_TRUE(other.Append(record));
}

TEST_F(Queued, ARecordIsFoundByItsIdWhereverItStands) {
  RequestQueue queue;
  EXPECT_FALSE(queue.Contains(0));
  for (const int id : {5, 6, 7})
    queue.Append(Record(id));
  for (const int id : {5, 6, 7})
    EXPECT_TRUE(queue.Contains(id)) << id;
  EXPECT_FALSE(queue.Contains(8));
  EXPECT_FALSE(queue.Contains(0));
  queue.TakeHead();
  EXPECT_FALSE(queue.Contains(5));
}

TEST_F(Queued, ALongQueueEndsWithoutALeakAndItsRecordsAreUnlinked) {
  const auto kept = Record(2);
  {
    RequestQueue queue;
    queue.Append(Record(1));
    queue.Append(kept);
    for (int k = 0; k < 200000; ++k)
      queue.Append(Record(3));
  }
  EXPECT_EQ(kept->PriorReq(), nullptr);
  EXPECT_EQ(kept->NextReq(), nullptr);
  RequestQueue another;
  EXPECT_TRUE(another.Append(kept));
}

}  // namespace
}  // namespace orvo::testing
