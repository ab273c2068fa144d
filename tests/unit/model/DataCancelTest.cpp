// Cancelling, and requests made from inside the delivery of another.

#include "unit/model/DataChangeFixture.h"

namespace orvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Cancels = ChangeFixture;

TEST_F(Cancels, AQueuedReadOrWriteEndsWithItsEventInsteadOfBeingSent) {
  HoldElevens();
  Start();
  EXPECT_EQ(AsyncRead({1}), 1);
  EXPECT_EQ(AsyncWrite({2}, {"5"}), 2);
  EXPECT_EQ(AsyncRead({3}), 3);
  group->AsyncCancel(2);
  group->AsyncCancel(1);
  EXPECT_THAT(TakeEvents(), IsEmpty());
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncCancelComplete 1 True", "AsyncCancelComplete 2 True",
                                        "AsyncReadComplete 3 [3] [I2:33] [0]"));
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[3],dimensions=[1])"));
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never", "I2:33 at 300"));
}

TEST_F(Cancels, WithoutSubscriptionTheRequestIsDroppedSilently) {
  Start();
  AsyncRead({1});
  group->AsyncCancel(1);
  group->PutSubscribed(false);
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(), IsEmpty());
  EXPECT_THAT(TakeSent(), IsEmpty());
}

TEST_F(Cancels, AnUnknownIdIsIgnored) {
  HoldElevens();
  Start();
  for (const std::int32_t id : {0, -1, 2, 999, 1000}) {
    SCOPED_TRACE(id);
    group->AsyncCancel(id);
  }
  EXPECT_EQ(AsyncRead({1}), 1);
  EXPECT_EQ(AsyncRead({2}), 2);
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(),
              ElementsAre("AsyncReadComplete 1 [1] [I2:11] [0]", "AsyncReadComplete 2 [2] [I2:22] [0]"));
}

TEST_F(Cancels, ARequestInFlightIsStillCompletedAndItsIdDropsALaterRequest) {
  HoldElevens();
  Start();
  device.silent = true;
  AsyncRead({1});
  plant->Advance(60ms);
  group->AsyncCancel(1);
  Driver().Sink().AsyncReadComplete({Word(11)}, {0});
  device.silent = false;
  plant->Advance(100ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 1 [1] [I2:11] [0]"));
  for (std::int32_t id = 2; id <= 999; ++id)
    ASSERT_EQ(AsyncRead({2}), id);
  plant->Advance(100s);
  TakeEvents();
  EXPECT_EQ(AsyncRead({3}), 1);
  EXPECT_EQ(AsyncRead({3}), 2);
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncCancelComplete 1 True", "AsyncReadComplete 2 [3] [I2:33] [0]"));
}

TEST_F(Cancels, AnyGroupMayCancelAndTheOwnerHearsOfIt) {
  AddGroup({"WO1"});
  const auto other = plant->server->KELDataGroups()->Add("H");
  other->PutSubscribed(true);
  plant->Watch(*other, "H.");
  Open();
  AsyncRead({1});
  other->AsyncCancel(1);
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncCancelComplete 1 True"));
}

TEST_F(Cancels, LeaveTheItemsAndTheTicksAlone) {
  Start();
  AsyncRead({1});
  group->AsyncCancel(1);
  plant->Advance(1s);
  EXPECT_EQ(group->LastUseTick(), 0U);
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never", "Empty never"));
}

TEST_F(Cancels, FromInsideADeliveryStallTwoSecondsWithoutEffect) {
  HoldElevens();
  Start();
  std::int64_t stalled = 0;
  sink->handlers["AsyncReadComplete"] = [&] {
    sink->handlers.clear();
    const std::int64_t before = Elapsed();
    group->AsyncCancel(2);
    stalled = Elapsed() - before;
  };
  AsyncRead({1});
  AsyncRead({2});
  plant->Advance(5s);
  EXPECT_GT(stalled, 2000);
  EXPECT_LT(stalled, 2100);
  EXPECT_THAT(TakeEvents(),
              ElementsAre("AsyncReadComplete 1 [1] [I2:11] [0]", "AsyncReadComplete 2 [2] [I2:22] [0]"));
}

using NestedCalls = ChangeFixture;

// The wait of a synchronous call inside a delivery: 10 s until it times out, 2 s until the cancel gives up.
constexpr std::int64_t NestedWait = 12000;

TEST_F(NestedCalls, ASynchronousReadInsideADeliveryEndsWith1AndItsRequestIsStillSentLater) {
  HoldElevens();
  Start();
  std::string nested;
  std::int64_t waited = 0;
  std::vector<std::string> sentMeanwhile;
  sink->handlers["AsyncReadComplete"] = [&] {
    TakeSent();
    const std::int64_t before = Elapsed();
    nested = SyncRead({2});
    waited = Elapsed() - before;
    sentMeanwhile = TakeSent();
  };
  AsyncRead({1});
  plant->Advance(100ms);
  EXPECT_EQ(nested, "[Empty] [1]");
  EXPECT_GT(waited, NestedWait);
  EXPECT_LT(waited, NestedWait + 200);
  EXPECT_THAT(sentMeanwhile, IsEmpty());
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[2],dimensions=[1])"));
  EXPECT_EQ(StateOf(2), "Empty never");
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 1 [1] [I2:11] [0]"));
  sink->handlers.clear();
  EXPECT_EQ(SyncRead({3}), "[I2:33] [0]");
}

TEST_F(NestedCalls, ASynchronousWriteInsideADataChangeEndsWith1AndReachesTheDeviceLater) {
  HoldElevens();
  StartActive();
  std::string nested;
  std::int64_t waited = 0;
  sink->handlers["DataChange"] = [&] {
    sink->handlers.clear();
    const std::int64_t before = Elapsed();
    nested = SyncWrite({2}, {"5"});
    waited = Elapsed() - before;
  };
  plant->Advance(20s);
  EXPECT_EQ(nested, "[1]");
  EXPECT_GT(waited, NestedWait);
  EXPECT_THAT(TakeSent(), ::testing::Contains("WriteItems(addresses=[2],dimensions=[1],values=[I4:5])"));
  EXPECT_FALSE(Item(2)->WriteDone());
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [1,2,3] [I2:11,I2:22,I2:33]", "DataChange [2] [I4:5]"));
}

TEST_F(NestedCalls, ASynchronousCallInsideACancelledRequestsEventFailsAtOnce) {
  Start();
  std::string nested;
  sink->handlers["AsyncCancelComplete"] = [&] {
    const std::int64_t before = Elapsed();
    nested = SyncRead({2});
    EXPECT_EQ(Elapsed(), before);
  };
  AsyncRead({1});
  group->AsyncCancel(1);
  plant->Advance(1s);
  EXPECT_EQ(nested, "[Empty] [1]");
  EXPECT_THAT(TakeSent(), IsEmpty());
}

TEST_F(NestedCalls, AnAsynchronousReadInsideADeliveryIsQueuedAndCompletes) {
  HoldElevens();
  Start();
  std::int32_t id = 0;
  sink->handlers["AsyncReadComplete"] = [&] {
    sink->handlers.clear();
    id = AsyncRead({2});
  };
  AsyncRead({1});
  plant->Advance(1s);
  EXPECT_EQ(id, 2);
  EXPECT_THAT(TakeEvents(),
              ElementsAre("AsyncReadComplete 1 [1] [I2:11] [0]", "AsyncReadComplete 2 [2] [I2:22] [0]"));
}

TEST_F(NestedCalls, AHandlerThatFailsIsItsClientsAffair) {
  HoldElevens();
  Start();
  sink->handlers["AsyncReadComplete"] = [] { throw AutomationError(5, "in the handler"); };
  AsyncRead({1});
  AsyncRead({2});
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(),
              ElementsAre("AsyncReadComplete 1 [1] [I2:11] [0]", "AsyncReadComplete 2 [2] [I2:22] [0]"));
}

}  // namespace
}  // namespace orvo::testing
