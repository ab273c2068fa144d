// The requests that the server builds for its groups and items, and how they reach the driver.

#include "unit/server/SynchronousFixture.h"

#include <functional>

namespace orvo::testing {
namespace {

const SafeArray<std::int32_t> FromFive(std::vector<std::int32_t>{2, 1}, 5);
const SafeArray<Variant> ValuesFromFive(std::vector<Variant>{Word(7), Word(8)}, 5);

class RequestBuilding : public SynchronousTest {
 protected:
  // Two items, the group defined, the driver answering within each call.
  void Open() {
    BringTo(2);
    group = plant->AddGroup({"WO100", "WO102"});
    group->SetGroupId(17);
    group->SetCompiledBufferDimension(4);
    Server().OpenCommunication();
    ASSERT_TRUE(group->EnsureDefined());
    Driver().log.clear();
    spoolerLog = std::make_shared<SpoolerEventLog>(delivered);
    Server().Spooler()->Events().Advise(spoolerLog);
    Driver().during["ReadItems"] = [this] {
      const std::size_t count = Driver().lastAddresses.Size();
      Driver().Sink().AsyncReadComplete(SafeArray<Variant>(count, 0, Word(9)), SafeArray<std::int32_t>(count));
    };
    Driver().during["WriteItems"] = [this] {
      Driver().Sink().AsyncWriteComplete(SafeArray<std::int32_t>(Driver().lastAddresses.Size()));
    };
    Driver().during["ReadGroup"] = [this] { Driver().Sink().AsyncReadGroupComplete({1, 2, 3, 4}, 0); };
    Driver().during["WriteGroup"] = [this] { Driver().Sink().AsyncWriteGroupComplete(0); };
  }
  void TearDown() override {
    spoolerLog.reset();
    SynchronousTest::TearDown();
  }
  KELDataItem& Item() { return *group->KELDataItems()->Item(2); }

  Log delivered;
  std::shared_ptr<SpoolerEventLog> spoolerLog;
};

struct Operation {
  const char* name;
  std::int32_t kind;
  // Runs or queues; the transaction id of what was queued.
  std::function<std::int32_t(KELDataServer&, KELDataGroup&, KELDataItem&)> run;
  const char* sent;
  const char* handles;
  bool hasItem;
  const char* event;
};

const Operation Operations[] = {
    {"QueueRead", 1, [](auto& s, auto& g, auto&) { return s.QueueRead(g, FromFive); },
     "ReadItems(addresses=[2,1],dimensions=[1,1])", "[2,1]", false, "ReadRequestComplete 1"},
    {"QueueWrite", 2, [](auto& s, auto& g, auto&) { return s.QueueWrite(g, FromFive, ValuesFromFive); },
     "WriteItems(addresses=[2,1],dimensions=[1,1],values=[UI1[7,0],UI1[8,0]])", "[2,1]", false,
     "WriteRequestComplete 1"},
    {"QueueRatedRead", 3, [](auto& s, auto& g, auto&) { return s.QueueRatedRead(g, FromFive); },
     "ReadItems(addresses=[2,1],dimensions=[1,1])", "[2,1]", false, "ReadRatedRequestComplete 1"},
    {"RunRead", 4, [](auto& s, auto& g, auto&) { return s.RunRead(g, FromFive)->TransactionId(); },
     "ReadItems(addresses=[2,1],dimensions=[1,1])", "[2,1]", false, "ReadRequestComplete 1"},
    {"RunWrite", 5,
     [](auto& s, auto& g, auto&) { return s.RunWrite(g, FromFive, ValuesFromFive)->TransactionId(); },
     "WriteItems(addresses=[2,1],dimensions=[1,1],values=[UI1[7,0],UI1[8,0]])", "[2,1]", false,
     "WriteRequestComplete 1"},
    {"RunReadItem", 6, [](auto& s, auto&, auto& i) { return s.RunReadItem(i)->TransactionId(); },
     "ReadItems(addresses=[2],dimensions=[1])", "[2]", true, "ReadRequestComplete 1"},
    {"RunWriteItem", 7, [](auto& s, auto&, auto& i) { return s.RunWriteItem(i, Word(6))->TransactionId(); },
     "WriteItems(addresses=[2],dimensions=[1],values=[UI1[6,0]])", "[2]", true, "WriteRequestComplete 1"},
    {"QueueReadAll", 9, [](auto& s, auto& g, auto&) { return s.QueueReadAll(g); },
     "ReadGroup(groupId=17,buffer=[0,0,0,0])", "[]", false, "ReadRequestComplete 1"},
    {"QueueWriteAll", 10,
     [](auto& s, auto& g, auto&) {
       return s.QueueWriteAll(g, FromFive, {4, 3, 2, 1});
     },
     "WriteGroup(groupId=17,buffer=[4,3,2,1])", "[2,1]", false, "WriteRequestComplete 1"},
    {"QueueRatedReadAll", 11, [](auto& s, auto& g, auto&) { return s.QueueRatedReadAll(g); },
     "ReadGroup(groupId=17,buffer=[0,0,0,0])", "[]", false, "ReadRatedRequestComplete 1"},
    {"RunReadAll", 12, [](auto& s, auto& g, auto&) { return s.RunReadAll(g)->TransactionId(); },
     "ReadGroup(groupId=17,buffer=[0,0,0,0])", "[]", false, "ReadRequestComplete 1"},
    {"RunWriteAll", 13,
     [](auto& s, auto& g, auto&) {
       return s.RunWriteAll(g, {4, 3, 2, 1})->TransactionId();
     },
     "WriteGroup(groupId=17,buffer=[4,3,2,1])", "[]", false, "WriteRequestComplete 1"},
};

TEST_F(RequestBuilding, EachOperationBuildsItsKindFilledInAndStampedAndHasItSentAndDelivered) {
  for (const Operation& row : Operations) {
    SCOPED_TRACE(row.name);
    spoolerLog.reset();
    group.reset();
    StartAt(SimulatedPlatform::DefaultStart);
    delivered.clear();
    Open();
    plant->platform.PutTickCount(0x80000010U);
    EXPECT_EQ(row.run(Server(), *group, Item()), 1);
    plant->Advance(200ms);
    EXPECT_EQ(Driver().log, Log{row.sent});
    ASSERT_EQ(delivered, Log{row.event});
    const DataRequest& request = *spoolerLog->delivered.at(0);
    EXPECT_EQ(request.RequestType(), row.kind);
    EXPECT_EQ(request.ReqGroup(), group);
    EXPECT_EQ(request.ReqItem().get(), row.hasItem ? &Item() : nullptr);
    EXPECT_EQ(LogText(request.Handles()), row.handles);
    EXPECT_EQ(request.TickSent(), static_cast<std::int32_t>(0x80000010U));
    EXPECT_EQ(request.Error(), 0);
    spoolerLog->delivered.clear();
  }
}

TEST_F(RequestBuilding, ARequestKeepsItsHandlesAndValuesWhenTheCallersArraysChange) {
  Open();
  SafeArray<std::int32_t> handles{1};
  SafeArray<Variant> values{Word(3)};
  Server().QueueWrite(*group, handles, values);
  handles.Put(0, 2);
  values.Put(0, Word(4));
  plant->Advance(50ms);
  EXPECT_EQ(Driver().log, Log{"WriteItems(addresses=[1],dimensions=[1],values=[UI1[3,0]])"});
}

TEST_F(RequestBuilding, AReadOfAGroupSendsTheBufferAsItIsWhenSentAndAWriteItsOwnCopy) {
  Open();
  Server().QueueReadAll(*group);
  Server().QueueWriteAll(*group, {}, {4, 3, 2, 1});
  group->SetCompiledBufferDimension(2);
  plant->Advance(200ms);
  EXPECT_EQ(Driver().log,
            (Log{"ReadGroup(groupId=17,buffer=[0,0])", "WriteGroup(groupId=17,buffer=[4,3,2,1])"}));
}

TEST_F(RequestBuilding, AQueuedRequestReturnsTheSpoolersNextIdAndAFullQueueIsRaised) {
  Open();
  for (std::int32_t expected = 1; expected <= 999; ++expected)
    ASSERT_EQ(Server().QueueRead(*group, {1}), expected);
  for (const Operation& row : Operations) {
    if (row.name[0] != 'Q') continue;
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ErrorOf([&] { row.run(Server(), *group, Item()); }), Own(errQueueFull, ""));
  }
}

TEST_F(RequestBuilding, ACancelReachesTheSpooler) {
  Open();
  Server().Cancel(Server().QueueRead(*group, {1}));
  Server().Cancel(12345);
  plant->Advance(200ms);
  EXPECT_EQ(delivered, Log{"CancelRequestComplete 1"});
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(RequestBuilding, AnItemWhoseGroupIsGoneHasNoRequest) {
  Open();
  KELDataItem orphan(plant->platform);
  EXPECT_EQ(ErrorNumberOf([&] { Server().RunReadItem(orphan); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { Server().RunWriteItem(orphan, Word(1)); }), 91);
}

}  // namespace
}  // namespace orvo::testing
