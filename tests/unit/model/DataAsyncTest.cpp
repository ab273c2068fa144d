#include "unit/model/DataFixture.h"

namespace orvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AsyncRequests : public DataFixture {
 protected:
  std::int32_t AsyncReadAll() {
    std::int32_t transactionId = -1;
    group->AsyncReadAll(transactionId);
    return transactionId;
  }
  std::int32_t AsyncWriteAll(const Handles& handles, const Values& values) {
    std::int32_t transactionId = -1;
    group->AsyncWriteAll(handles, values, transactionId);
    return transactionId;
  }
  // Tick count of the group's latest completed request, in milliseconds from the platform's start.
  std::uint32_t LastUse() const { return group->LastUseTick() - SimulatedPlatform::DefaultTickCount; }
};

TEST_F(AsyncRequests, AReadReturnsItsIdAtOnceAndReportsWithAnEvent) {
  HoldElevens();
  Start();
  EXPECT_EQ(AsyncRead({3, 1}), 1);
  EXPECT_EQ(Elapsed(), 0);
  EXPECT_THAT(TakeSent(), IsEmpty());
  plant->Advance(99ms);
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[3,1],dimensions=[1,1])"));
  EXPECT_THAT(TakeEvents(), IsEmpty());
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never", "Empty never"));
  plant->Advance(1ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 1 [3,1] [I2:33,I2:11] [0,0]"));
  EXPECT_THAT(States(), ElementsAre("I2:11 at 100", "Empty never", "I2:33 at 100"));
}

TEST_F(AsyncRequests, RequestsAreAnsweredInTheirOrderWithRisingIds) {
  HoldElevens();
  Start();
  EXPECT_EQ(AsyncRead({1}), 1);
  EXPECT_EQ(AsyncWrite({2}, {Short(5)}), 2);
  EXPECT_EQ(AsyncReadAll(), 3);
  EXPECT_EQ(AsyncWriteAll({3}, {Short(6)}), 4);
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[1],dimensions=[1])",
                                      "WriteItems(addresses=[2],dimensions=[1],values=[I4:5])",
                                      "ReadItems(addresses=[1,2,3],dimensions=[1,1,1])",
                                      "WriteItems(addresses=[3],dimensions=[1],values=[I4:6])"));
  // In item mode the All forms are the plain ones, and so are their events.
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 1 [1] [I2:11] [0]", "AsyncWriteComplete 2 [2] [0]",
                                        "AsyncReadComplete 3 [1,2,3] [I2:11,I4:5,I2:33] [0,0,0]",
                                        "AsyncWriteComplete 4 [3] [0]"));
  EXPECT_THAT(States(), ElementsAre("I2:11 at 300", "I4:5 at 300 written", "I4:6 at 400 written"));
}

TEST_F(AsyncRequests, AReadProcessesEveryPositionWhateverItsError) {
  HoldElevens();
  Start();
  device.errors[2] = 7;
  AsyncRead({1, 2});
  plant->Advance(100ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 1 [1,2] [I2:11,I2:22] [0,7]"));
  EXPECT_THAT(States(), ElementsAre("I2:11 at 100", "I2:22 at 100", "Empty never"));
}

TEST_F(AsyncRequests, AWriteStoresOnlyWhatHasNoError) {
  Start();
  device.errors[2] = 7;
  AsyncWrite({1, 2}, {Short(5), Short(6)});
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never", "Empty never"));
  plant->Advance(100ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncWriteComplete 1 [1,2] [0,7]"));
  EXPECT_THAT(States(), ElementsAre("I4:5 at 100 written", "Empty never", "Empty never"));
}

TEST_F(AsyncRequests, EventsCarryArraysFromZeroWhateverTheCallersBounds) {
  HoldElevens();
  Start();
  AsyncRead(Based(1, Handles{2, 1}));
  AsyncWrite(Based(-3, Handles{3, 1}), Based(1, Values{Short(5), Short(6)}));
  plant->Advance(200ms);
  EXPECT_THAT(TakeEvents(),
              ElementsAre("AsyncReadComplete 1 [2,1] [I2:22,I2:11] [0,0]", "AsyncWriteComplete 2 [3,1] [0,0]"));
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[2,1],dimensions=[1,1])",
                                      "WriteItems(addresses=[3,1],dimensions=[1,1],values=[I4:5,I4:6])"));
}

TEST_F(AsyncRequests, AWriteWhoseThirdValueCannotBeConvertedQueuesNothing) {
  Start();
  std::int32_t id = -1;
  EXPECT_EQ(ErrorOf([&] {
              group->AsyncWrite(Based(1, Handles{1, 2, 3}), {Short(1), Short(2), "no number"}, id);
            }),
            "-2147221489: INVALID FORMAT Invalid format: index=3");
  EXPECT_EQ(ErrorOf([&] {
              group->AsyncWriteAll({1, 2, 3}, {Short(1), Short(2), "no number"}, id);
            }),
            "-2147221489: INVALID FORMAT Invalid format: index=2");
  EXPECT_EQ(id, -1);
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
  EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(AsyncRequests, AnUnknownHandleRaisesTheItemsErrorAndQueuesNothing) {
  Start();
  std::int32_t id = -1;
  const char* const raised = "-2147221498: Invalid Handle: 7: Group Name= GGroupHandle: 1";
  EXPECT_EQ(ErrorOf([&] { group->AsyncRead({1, 7}, id); }), raised);
  EXPECT_EQ(ErrorOf([&] { group->AsyncWrite({1, 7}, {Short(1), Short(2)}, id); }), raised);
  EXPECT_EQ(ErrorOf([&] { group->AsyncWriteAll({1, 7}, {Short(1), Short(2)}, id); }), raised);
  EXPECT_EQ(id, -1);
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
}

TEST_F(AsyncRequests, ReadAllOfAnEmptyGroupQueuesNothingAndLeavesTheId) {
  Start({});
  EXPECT_EQ(AsyncReadAll(), -1);
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
  EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(AsyncRequests, WithoutSubscriptionTheItemsAreUpdatedWithoutEvents) {
  HoldElevens();
  Start();
  group->PutSubscribed(false);
  AsyncRead({1});
  AsyncWrite({2}, {Short(5)});
  plant->Advance(200ms);
  EXPECT_THAT(TakeEvents(), IsEmpty());
  EXPECT_THAT(States(), ElementsAre("I2:11 at 100", "I4:5 at 200 written", "Empty never"));
  EXPECT_EQ(LastUse(), 200U);
}

TEST_F(AsyncRequests, LastUseTickIsSetBeforeTheEventIsRaised) {
  Start();
  std::vector<std::uint32_t> seen;
  sink->handlers["AsyncReadComplete"] = [&] { seen.push_back(LastUse()); };
  sink->handlers["AsyncWriteComplete"] = [&] { seen.push_back(LastUse()); };
  AsyncRead({1});
  AsyncWrite({2}, {Short(5)});
  EXPECT_EQ(group->LastUseTick(), 0U);
  plant->Advance(200ms);
  EXPECT_THAT(seen, ElementsAre(100U, 200U));
}

TEST_F(AsyncRequests, SynchronousRequestsLeaveLastUseTickAlone) {
  Start();
  SyncRead({1});
  SyncWrite({1}, {Short(5)});
  EXPECT_EQ(group->LastUseTick(), 0U);
}

TEST_F(AsyncRequests, ItemsAreUpToDateInsideTheEvent) {
  HoldElevens();
  Start();
  std::vector<std::string> seen;
  sink->handlers["AsyncReadComplete"] = [&] { seen = States(); };
  AsyncRead({1, 2, 3});
  plant->Advance(100ms);
  EXPECT_THAT(seen, ElementsAre("I2:11 at 100", "I2:22 at 100", "I2:33 at 100"));
}

TEST_F(AsyncRequests, AllItemsOfADeliveryBearOneTime) {
  HoldElevens();
  Start();
  Compiler().extract = [this](double, Variant&) { plant->platform.Jump(1s); };
  AsyncRead({1, 2, 3});
  plant->Advance(100ms);
  EXPECT_THAT(States(), ElementsAre("I2:11 at 100", "I2:22 at 100", "I2:33 at 100"));
}

TEST_F(AsyncRequests, AHandleThatVanishedBeforeDeliveryHasAnEmptyValue) {
  HoldElevens();
  Start();
  device.silent = true;
  AsyncRead({1, 2, 3});
  plant->Advance(50ms);
  plant->server->CloseCommunication();
  group->KELDataItems()->Remove(2);
  Driver().Sink().AsyncReadComplete({Word(11), Word(22), Word(33)}, {0, 0, 0});
  plant->server->OpenCommunication();
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 1 [1,2,3] [I2:11,Empty,I2:33] [0,0,0]"));
}

TEST_F(AsyncRequests, AHandleThatWasGivenToAnotherItemMeanwhileCountsAsVanished) {
  HoldElevens();
  Start({"WO1", "WO2"});
  AsyncRead({1, 2});
  AsyncWrite({1, 2}, {Short(5), Short(6)});
  plant->server->CloseCommunication();
  group->KELDataItems()->Remove(2);
  EXPECT_EQ(group->KELDataItems()->Add("WO9")->Handle(), 2);
  plant->server->OpenCommunication();
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(),
              ElementsAre("AsyncReadComplete 1 [1,2] [I2:11,Empty] [0,0]", "AsyncWriteComplete 2 [1,2] [0,0]"));
  EXPECT_THAT(States(), ElementsAre("I4:5 at 200 written", "Empty never"));
}

TEST_F(AsyncRequests, AWriteOfAHandleThatVanishedIsReportedWithTheOthers) {
  Start();
  device.silent = true;
  AsyncWrite({1, 2}, {Short(5), Short(6)});
  plant->Advance(50ms);
  plant->server->CloseCommunication();
  group->KELDataItems()->Remove(1);
  Driver().Sink().AsyncWriteComplete({0, 0});
  plant->server->OpenCommunication();
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncWriteComplete 1 [1,2] [0,0]"));
  EXPECT_EQ(Item(2)->WriteDone(), true);
}

TEST_F(AsyncRequests, TakeTheDriversArraysByPosition) {
  Start();
  Driver().during["ReadItems"] = [this] {
    plant->platform.Post([this] {
      Driver().Sink().AsyncReadComplete(Based(4, Values{Word(1)}), {0, 5, 6, 7});
    });
  };
  Driver().during["WriteItems"] = [this] {
    plant->platform.Post([this] { Driver().Sink().AsyncWriteComplete(Based(4, Handles{0})); });
  };
  AsyncRead({1, 2, 3});
  AsyncWrite({1, 2}, {Short(5), Short(6)});
  plant->Advance(200ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 1 [1,2,3] [I2:1,Empty,Empty] [0,5,6]",
                                        "AsyncWriteComplete 2 [1,2] [0,9]"));
}

TEST_F(AsyncRequests, ARefusedCallIsDroppedWithoutAnEventAndTheNextGoesOn) {
  HoldElevens();
  Start();
  Refuse("ReadItems");
  Refuse("WriteItems");
  AsyncRead({1});
  AsyncWrite({2}, {Short(5)});
  AsyncRead({2});
  plant->Advance(200ms);
  TakeAgain();
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 3 [2] [I2:22] [0]"));
}

TEST_F(AsyncRequests, RequestsOfSeveralGroupsReachTheirOwnGroup) {
  HoldElevens();
  AddGroup({"WO1", "WO2"});
  const auto other = plant->server->KELDataGroups()->Add("H");
  other->KELDataItems()->Add("WO3");
  other->PutSubscribed(true);
  plant->Watch(*other, "H.");
  Open();
  std::int32_t id = 0;
  AsyncRead({2});
  other->AsyncRead({1}, id);
  EXPECT_EQ(id, 2);
  AsyncWrite({1}, {Short(4)});
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(),
              ElementsAre("AsyncReadComplete 1 [2] [I2:22] [0]", "H.AsyncReadComplete 2 [1] [I2:33] [0]",
                          "AsyncWriteComplete 3 [1] [0]"));
}

TEST_F(AsyncRequests, QueuedRequestsSurviveACloseAndAreSentAfterTheNextOpen) {
  HoldElevens();
  Start();
  AsyncRead({1});
  plant->server->CloseCommunication();
  plant->Advance(5s);
  plant->server->OpenCommunication();
  plant->Advance(100ms);
  EXPECT_THAT(TakeSent(), ElementsAre("CloseCommunication()", "OpenCommunication(true)",
                                      "ReadItems(addresses=[1],dimensions=[1])"));
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 1 [1] [I2:11] [0]"));
}

TEST_F(AsyncRequests, AStrayCompletionDeliversTheSameRequestTwice) {
  Start();
  Driver().during["ReadItems"] = [this] {
    plant->platform.Post([this] {
      Driver().Sink().AsyncReadComplete({Word(1)}, {0});
      Driver().Sink().AsyncReadComplete({Word(2)}, {0});
    });
  };
  AsyncRead({1});
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(),
              ElementsAre("AsyncReadComplete 1 [1] [I2:2] [0]", "AsyncReadComplete 1 [1] [I2:2] [0]"));
}

TEST_F(AsyncRequests, ACallersArrayMayChangeAfterTheCall) {
  HoldElevens();
  Start();
  Handles handles{1, 2};
  Values values{Short(5), Short(6)};
  AsyncRead(handles);
  AsyncWrite(handles, values);
  handles.Put(0, 3);
  values.Put(0, Short(9));
  plant->Advance(200ms);
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[1,2],dimensions=[1,1])",
                                      "WriteItems(addresses=[1,2],dimensions=[1,1],values=[I4:5,I4:6])"));
}

}  // namespace
}  // namespace orvo::testing
