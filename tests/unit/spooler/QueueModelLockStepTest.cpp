// The spooler and the model of it, side by side over random sequences of everything that clients and drivers
// can do; the driver keeps no rule at all.
#include "SpoolerFixture.h"
#include "support/QueueModel.h"

#include <algorithm>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

class QueueInLockStep : public SpoolerFixture {
 protected:
  enum class Answer { Read, ReadGroup, Write, WriteGroup };
  struct Completion {
    Answer answer;
    std::vector<std::int32_t> errors;
  };

  void TearDown() override {
    records_.clear();
    SpoolerFixture::TearDown();
  }

  void Begin(std::uint32_t seed) {
    random_.seed(seed);
    for (const char* operation : {"ReadItems", "WriteItems", "ReadGroup", "WriteGroup"})
      driver->during[operation] = [this] {
        for (const Completion& completion : inside_)
          EXPECT_TRUE(CompleteReal(completion)) << "inside the call";
        if (refuses_) throw AutomationError(3, "refused");
      };
    spooler->StartSpooler();
    model_.Start();
  }

  int Below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

  Completion RandomCompletion() {
    return {static_cast<Answer>(Below(4)),
            std::vector<std::int32_t>(static_cast<std::size_t>(Below(4)), Below(6))};
  }
  // Values carry the number of the completion that brought them.
  bool CompleteReal(const Completion& completion) {
    const std::int32_t error = completion.errors.empty() ? 0 : completion.errors.front();
    const SafeArray<std::int32_t> errors(completion.errors);
    const auto number = static_cast<std::int32_t>(++realAnswers_);
    try {
      IEventNotify& sink = driver->Sink();
      switch (completion.answer) {
        case Answer::Read:
          sink.AsyncReadComplete({Variant(number)}, errors);
          break;
        case Answer::ReadGroup:
          sink.AsyncReadGroupComplete({static_cast<std::uint8_t>(number)}, error);
          break;
        case Answer::Write:
          sink.AsyncWriteComplete(errors);
          break;
        case Answer::WriteGroup:
          sink.AsyncWriteGroupComplete(error);
          break;
      }
    } catch (const AutomationError& failure) {
      EXPECT_EQ(failure.Number(), 91);
      --realAnswers_;
      return false;
    }
    return true;
  }
  bool CompleteModel(const Completion& completion) {
    const std::int32_t error = completion.errors.empty() ? 0 : completion.errors.front();
    switch (completion.answer) {
      case Answer::Read:
        return model_.ReadCompleted(completion.errors);
      case Answer::ReadGroup:
        return model_.ReadGroupCompleted(error, static_cast<std::size_t>(group->itemCount));
      case Answer::Write:
        return model_.WriteCompleted(completion.errors);
      default:
        return model_.WriteGroupCompleted(error);
    }
  }

  void Add() {
    const std::int32_t kind = Below(200) == 0 ? 8 : 1 + Below(13);
    const auto items = static_cast<std::size_t>(Below(4));
    auto request = Make(kind);
    // The handle, and with it the address, the value and the bytes tell which request a call is about.
    const auto number = static_cast<std::int32_t>(records_.size()) + 1;
    request->SetHandles({number});
    if (Writes(kind) && !QueueModel::IsWholeGroup(kind)) request->SetDATAValues({Variant(number)});
    if (Writes(kind) && QueueModel::IsWholeGroup(kind))
      request->SetBuffer({static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)});
    request->SetErrors(SafeArray<std::int32_t>(items));
    const auto expected = model_.Add(kind, items);
    if (expected) {
      EXPECT_EQ(spooler->AddRequest(request), *expected);
      records_.push_back(request);
      lastId_ = *expected;
    } else {
      ++full;
      EXPECT_EQ(ErrorOf([&] { spooler->AddRequest(request); }).substr(0, 11), "-2147221492");
    }
  }

  void Tick() {
    inside_.clear();
    refuses_ = Below(8) == 0;
    group->defined = Below(10) != 0;
    group->groupId = Below(1000);
    group->buffer = {static_cast<std::uint8_t>(Below(256)), 2, 3};
    for (int k = Below(6) == 0 ? 1 + Below(2) : 0; k > 0; --k)
      inside_.push_back(RandomCompletion());
    timer.SyncRequestPending = true;
    QueueModel::Outcome expected = model_.Tick();
    platform.Advance(ms(50));
    bool givenUp = false;
    if (expected.sent) {
      ++sent;
      const bool undefined = QueueModel::IsWholeGroup(expected.sent->kind) && !group->defined;
      ExpectCall(*expected.sent, undefined);
      if (undefined) inside_.clear();
      for (const Completion& completion : inside_)
        EXPECT_TRUE(CompleteModel(completion));
      if (undefined || refuses_) {
        ++refused;
        const QueueModel::Outcome refusal = model_.Refused();
        expected.refreshesDropped = refusal.refreshesDropped;
        givenUp = refusal.releasesCaller;
        if (givenUp) ExpectRecord(*refusal.request);
      }
    } else {
      EXPECT_EQ(CallsInJournal(), 0);
    }
    ExpectEvent(expected);
    ExpectDropped(expected);
    EXPECT_EQ(timer.SyncRequestPending, !givenUp);
  }

  void Complete() {
    const Completion completion = RandomCompletion();
    const bool expected = CompleteModel(completion);
    EXPECT_EQ(CompleteReal(completion), expected);
    if (!expected) ++strays;
  }

  void Cancel() {
    const std::int32_t id = Below(8) == 0 ? Below(1001) : std::max(lastId_ - Below(6), 0);
    model_.Cancel(id);
    spooler->AsyncCancel(id);
  }

  void Step(bool flooding) {
    journal.clear();
    events->delivered.clear();
    const int dice = Below(1000);
    if (dice < (flooding ? 900 : 250))
      Add();
    else if (dice < 940)
      flooding ? Complete() : Tick();
    else if (dice < 975)
      Cancel();
    else if (dice < (flooding ? 976 : 981)) {
      const QueueModel::Outcome cleared = model_.Clear();
      spooler->Clear();
      ExpectDropped(cleared);
    } else if (dice < (model_.IsRunning() ? 984 : 1000)) {
      model_.IsRunning() ? spooler->StopSpooler() : spooler->StartSpooler();
      model_.IsRunning() ? model_.Stop() : model_.Start();
    }
    if (!flooding && Below(100) < (model_.IsBusy() ? 30 : 3)) Complete();
    EXPECT_EQ(spooler->IsBusy(), model_.IsBusy());
  }

  int full = 0;
  int sent = 0;
  int refused = 0;
  int strays = 0;
  int delivered = 0;
  int cancelled = 0;

 private:
  const std::shared_ptr<DataRequest>& RecordOf(const QueueModel::Request& request) const {
    return records_[static_cast<std::size_t>(request.number) - 1];
  }
  int CallsInJournal() const {
    return static_cast<int>(std::count_if(journal.begin(), journal.end(), [](const std::string& line) {
      return line.rfind("ReadItems(", 0) == 0 || line.rfind("WriteItems(", 0) == 0 ||
             line.rfind("ReadGroup(", 0) == 0 || line.rfind("WriteGroup(", 0) == 0;
    }));
  }
  void ExpectCall(const QueueModel::Request& request, bool undefined) {
    if (undefined) {
      EXPECT_EQ(CallsInJournal(), 0);
      return;
    }
    EXPECT_EQ(CallsInJournal(), 1);
    const std::string call = CallOf(request);
    EXPECT_EQ(std::count(journal.begin(), journal.end(), call), 1) << call;
  }
  static bool Writes(std::int32_t kind) {
    return kind == 2 || kind == 5 || kind == 7 || kind == 10 || kind == 13;
  }
  // With all its arguments: a write carries what its own request brought, a read of the group the group's
  // bytes.
  std::string CallOf(const QueueModel::Request& request) const {
    const bool writes = Writes(request.kind);
    std::string call = writes ? "Write" : "Read";
    if (QueueModel::IsWholeGroup(request.kind)) {
      const std::string bytes =
          writes ? std::to_string(request.number / 256) + "," + std::to_string(request.number % 256)
                 : std::to_string(group->buffer.View()[0]) + ",2,3";
      return call + "Group(groupId=" + std::to_string(group->groupId) + ",buffer=[" + bytes + "])";
    }
    const bool one = request.kind == 6 || request.kind == 7;
    call += "Items(addresses=[" + (one ? "55" : std::to_string(request.number * 10)) + "],dimensions=[" +
            (one ? "2]" : "1]");
    return call + (writes ? ",values=[I4:" + std::to_string(request.number) + "])" : ")");
  }
  void ExpectRecord(const QueueModel::Request& request) const {
    const DataRequest& record = *RecordOf(request);
    EXPECT_EQ(record.TransactionId(), request.id);
    EXPECT_EQ(record.RequestType(), request.kind);
    EXPECT_EQ(record.Error(), request.error);
    EXPECT_EQ(record.Errors(), SafeArray<std::int32_t>(request.itemErrors));
    if (request.values != 0) {
      EXPECT_EQ(record.DATAValues(), SafeArray<Variant>{static_cast<std::int32_t>(request.values)});
    }
    if (request.buffer != 0) {
      EXPECT_EQ(record.Buffer(), SafeArray<std::uint8_t>{static_cast<std::uint8_t>(request.buffer)});
    }
  }
  void ExpectEvent(const QueueModel::Outcome& expected) {
    if (expected.event == QueueModel::Event::None) {
      EXPECT_EQ(events->delivered.size(), 0U);
      return;
    }
    ASSERT_EQ(events->delivered.size(), 1U);
    EXPECT_EQ(events->delivered[0], RecordOf(*expected.request));
    const char* const names[] = {"", "ReadRequestComplete ", "ReadRatedRequestComplete ",
                                 "WriteRequestComplete ", "CancelRequestComplete "};
    EXPECT_EQ(std::count(journal.begin(), journal.end(),
                         names[static_cast<int>(expected.event)] + std::to_string(expected.request->id)),
              1);
    ExpectRecord(*expected.request);
    ++(expected.event == QueueModel::Event::CancelRequestComplete ? cancelled : delivered);
  }
  void ExpectDropped(const QueueModel::Outcome& expected) const {
    EXPECT_EQ(std::count(journal.begin(), journal.end(), "RefreshDropped"),
              static_cast<std::ptrdiff_t>(expected.refreshesDropped.size()));
  }

  std::mt19937 random_;  // NOLINT(cert-msc51-cpp, cert-msc32-c): seeded by the test, to be repeatable
  QueueModel model_;
  std::vector<std::shared_ptr<DataRequest>> records_;  // by their number in the model
  std::int32_t lastId_ = 0;
  bool refuses_ = false;
  std::vector<Completion> inside_;
  std::int64_t realAnswers_ = 0;
};

class QueueInLockStepBySeed : public QueueInLockStep, public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(QueueInLockStepBySeed, DoesWhatItsModelDoes) {
  std::cout << "seed " << GetParam() << std::endl;
  Begin(GetParam());
  for (int step = 0; step < 7000 && !HasFailure(); ++step) {
    SCOPED_TRACE("step " + std::to_string(step));
    Step(step % 3500 > 1700);
  }
  EXPECT_GT(full, 0);
  EXPECT_GT(sent, 200);
  EXPECT_GT(refused, 20);
  EXPECT_GT(strays, 0);
  EXPECT_GT(delivered, 200);
  EXPECT_GT(cancelled, 5);
  spooler->StopSpooler();
}

INSTANTIATE_TEST_SUITE_P(Seeds, QueueInLockStepBySeed, ::testing::Range(1U, 13U));

}  // namespace
}  // namespace orvo::testing
