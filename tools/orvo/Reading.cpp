#include "Reading.h"

#include "Interrupt.h"
#include "errors/modConstant.h"

#include <algorithm>

namespace orvo::client {

namespace {

// Ends the wait of a synchronous call when its time is over.
class WaitLimit {
 public:
  WaitLimit(Session& session, std::chrono::milliseconds limit)
      : platform_(session.platform),
        timer_(platform_.SetTimer(limit, [&session](std::int32_t) { session.ReleaseWaiting(); })) {}
  WaitLimit(const WaitLimit&) = delete;
  WaitLimit& operator=(const WaitLimit&) = delete;
  ~WaitLimit() { platform_.KillTimer(timer_); }

 private:
  PortablePlatform& platform_;
  const std::int32_t timer_;
};

}  // namespace

// Takes the values of synchronous reads before the items convert them.
class Reader::Sink final : public SpoolerEvents {
 public:
  const RequestGroup* group = nullptr;  // of the read that is under way
  SafeArray<Variant> delivered;

  void ReadRequestComplete(const std::shared_ptr<DataRequest>& RRequest) override {
    if (!IsSynchronous(RRequest->RequestType())) return;
    // A driver may answer an earlier read again.
    if (RRequest->ReqGroup().get() == group) delivered = RRequest->DATAValues();
  }
  void ReadRatedRequestComplete(const std::shared_ptr<DataRequest>& /*RRequest*/) override {}
  void WriteRequestComplete(const std::shared_ptr<DataRequest>& /*WRequest*/) override {}
  void CancelRequestComplete(const std::shared_ptr<DataRequest>& /*CRequest*/) override {}
  void DownloadFirmwareComplete() override {}
  void DownloadFirmwareInProgress(std::int16_t /*Percent*/) override {}
  void DownloadProjectComplete() override {}
  void DownloadProjectInProgress(std::int16_t /*Percent*/) override {}
};

Variant ReadResult::Delivered(std::size_t position) const {
  const bool there = position < delivered.Size() && errors.View()[position] == 0;
  return there ? delivered.View()[position] : Variant();
}

bool ReadResult::Succeeded() const {
  return std::all_of(errors.View().begin(), errors.View().end(), [](std::int32_t error) { return error == 0; });
}

Reader::Reader(Session& session)
    : session_(session),
      sink_(std::make_shared<Sink>()),
      cookie_(session.server->Spooler()->Events().Advise(sink_)) {}

Reader::~Reader() {
  session_.server->Spooler()->Events().Unadvise(cookie_);
}

ReadResult Reader::Read(KELDataGroup& group, std::chrono::milliseconds limit) {
  constexpr std::chrono::milliseconds pause{20};
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + limit;
  const auto left = [&] { return std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()); };
  ReadResult result;
  result.handles = group.Items().AllHandles();
  for (;;) {
    sink_->group = &group;
    sink_->delivered = {};
    const std::uint64_t sent = session_.Log().Sent();
    {
      const WaitLimit waiting(session_, std::max(left(), MinimumTimerPeriod));
      group.SyncRead(result.handles, result.values, result.errors);
    }
    Interrupt::Check();
    result.delivered = sink_->delivered;
    const bool refused = session_.Log().Sent() == sent && !result.errors.IsEmpty() &&
                         std::all_of(result.errors.View().begin(), result.errors.View().end(),
                                     [](std::int32_t error) { return error == RequestFailed; });
    if (!refused || left() <= pause) return result;
    session_.platform.RunFor(pause);
    Interrupt::Check();
  }
}

}  // namespace orvo::client
