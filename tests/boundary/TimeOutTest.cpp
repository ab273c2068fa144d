// Synchronous calls that nobody answers, and calls from inside events, in virtual time.

#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "boundary/TestSink.h"

namespace orvo::testing {
namespace {

class TimeOuts : public Boundary {
 protected:
  // A running server whose driver takes every request and answers none.
  void Silent() {
    scene.Configure("scripted.ini");
    group = scene.AddGroup({"WO100", "WO102"});
    item = scene.Item(group, 1);
    scene.server->OpenCommunication();
    start_ = scene.Platform().Now();
  }
  // Just over ten seconds went by since Silent.
  void ExpectTenSeconds() {
    const auto waited = scene.Platform().Now() - start_;
    EXPECT_GT(waited, 10s);
    EXPECT_LT(waited, 10s + 200ms);
  }

  ComPtr<_KELDataGroup> group;
  ComPtr<_KELDataItem> item;

 private:
  std::chrono::milliseconds start_{};
};

TEST_F(TimeOuts, AnItemsReadAnswersOneAfterTenSeconds) {
  Silent();
  Value value = Str("old");
  Value time = Str("old");
  LONG error = 0;
  EXPECT_EQ(item->SyncRead(value.Get(), &error, time.Get()), S_OK);
  EXPECT_EQ(error, 1);
  EXPECT_EQ(Text(value), "Str:\"old\"");
  EXPECT_EQ(Text(time), "Str:\"old\"");
  ExpectTenSeconds();
}

TEST_F(TimeOuts, AnItemsWriteByNameAnswersOneAfterTenSeconds) {
  Silent();
  Value error;
  EXPECT_EQ(Invoke(item.Get(), L"SyncWrite", Method, {I2(1), Ref(error)}).text, "Empty");
  EXPECT_EQ(Text(error), "I4:1");
  ExpectTenSeconds();
}

TEST_F(TimeOuts, AGroupsReadGivesNoValues) {
  Silent();
  Value values = Array(VT_VARIANT, 0, {Str("old"), Str("old")});
  Value errors = Array(VT_I4, 0, {I4(0), I4(0)});
  Value handles = Array(VT_I4, 0, {I4(1), I4(2)});
  EXPECT_EQ(group->SyncRead(&handles->parray, &values->parray, &errors->parray), S_OK);
  ExpectTenSeconds();
  LONG index = 0;
  LONG error = 0;
  SafeArrayGetElement(errors->parray, &index, &error);
  EXPECT_NE(error, 0) << Text(errors);
  EXPECT_EQ(Text(handles), "I4[0: 1, 2]");
}

TEST_F(TimeOuts, ARequestThatIsNotTakenAnswers99AtOnce) {
  Silent();
  scene.scripted->Fail("ReadItems", 1, "no line");
  LONG error = 0;
  Value value;
  EXPECT_EQ(item->SyncRead(value.Get(), &error, nullptr), S_OK);
  EXPECT_EQ(error, 99);
  Value values;
  Value errors;
  EXPECT_EQ(
      Invoke(group.Get(), L"SyncRead", Method, {Array(VT_I4, 0, {I4(1), I4(2)}), Ref(values), Ref(errors)})
          .text,
      "Empty");
  EXPECT_EQ(Text(errors), "Variant[0: I4:99, I4:99]");
}

TEST_F(TimeOuts, ASynchronousCallInsideAnotherFailsAtOnce) {
  scene.Configure();
  group = scene.AddGroup({"WO100"});
  item = scene.Item(group, 1);
  group->put_Subscribed(VARIANT_TRUE);
  TestSink sink{DIID___KELDataGroup};
  const ComPtr<IConnectionPoint> point = PointOf(group.Get(), DIID___KELDataGroup);
  DWORD cookie = 0;
  point->Advise(sink.Face(), &cookie);
  scene.server->OpenCommunication();
  LONG inner = -1;
  LONG outer = -1;
  auto before = 0ms;
  auto after = 0ms;
  sink.during[2] = [&] {
    before = scene.Platform().Now();
    Value value;
    EXPECT_EQ(item->SyncRead(value.Get(), &inner, nullptr), S_OK);
    after = scene.Platform().Now();
  };
  // The event of the read that was queued first comes while the second one waits.
  EXPECT_EQ(Invoke(group.Get(), L"AsyncReadAll", Method, {I4(0)}).text, "Empty");
  Value value;
  EXPECT_EQ(item->SyncRead(value.Get(), &outer, nullptr), S_OK);
  EXPECT_EQ(inner, 1);
  EXPECT_EQ(before, after);
  EXPECT_EQ(outer, 0);
  EXPECT_EQ(sink.log.size(), 1U);
  point->Unadvise(cookie);
}

TEST_F(TimeOuts, ASynchronousCallFromItsOwnDeliveryEnds) {
  scene.Configure();
  group = scene.AddGroup({"WO100"});
  item = scene.Item(group, 1);
  group->put_Subscribed(VARIANT_TRUE);
  TestSink sink{IID_NULL};
  const ComPtr<IConnectionPoint> point = PointOf(group.Get(), DIID___KELDataGroup);
  DWORD cookie = 0;
  point->Advise(sink.Face(), &cookie);
  scene.server->OpenCommunication();
  LONG error = -1;
  sink.during[2] = [&] {
    Value value;
    EXPECT_EQ(item->SyncRead(value.Get(), &error, nullptr), S_OK);
  };
  EXPECT_EQ(Invoke(group.Get(), L"AsyncReadAll", Method, {I4(0)}).text, "Empty");
  scene.Advance(20s);
  EXPECT_EQ(error, 1) << "the delivery that it waits for cannot come while its handler runs";
  point->Unadvise(cookie);
}

TEST_F(TimeOuts, TheServerMayBeReleasedWhileACallWaits) {
  Silent();
  bool gone = false;
  scene.Platform().SetTimer(1s, [&, keep = scene.Platform().Now()](std::int32_t timerId) {
    scene.Platform().KillTimer(timerId);
    scene.server = nullptr;
    gone = true;
  });
  LONG error = -1;
  Value value;
  const HRESULT result = item->SyncRead(value.Get(), &error, nullptr);
  EXPECT_TRUE(gone);
  EXPECT_TRUE(FAILED(result) || error == 1) << SlotText(result) << " " << error;
}

TEST_F(TimeOuts, ReleasedInsideACallTheObjectEndsAfterIt) {
  Silent();
  scene.Platform().SetTimer(1s, [&](std::int32_t timerId) {
    scene.Platform().KillTimer(timerId);
    group = nullptr;
    _KELDataItem* const last = item.Detach();
    last->Release();
  });
  LONG error = -1;
  Value value;
  _KELDataItem* const calling = item.Get();
  const HRESULT result = calling->SyncRead(value.Get(), &error, nullptr);
  EXPECT_TRUE(FAILED(result) || error == 1) << SlotText(result) << " " << error;
  scene.server = nullptr;
  EXPECT_EQ(scene.ObjectsAlive(), 0);
}

}  // namespace
}  // namespace orvo::testing
