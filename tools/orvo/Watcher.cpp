#include "Watcher.h"

#include "Interrupt.h"
#include "Values.h"
#include "model/RequestResults.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <utility>

namespace orvo::client {

class Watcher::GroupSink final : public KELDataGroupEvents {
 public:
  GroupSink(Watcher& watcher, std::size_t index) : watcher_(watcher), index_(index) {}
  void DataChange(const SafeArray<std::int32_t>& DataHandles, const SafeArray<Variant>& USERValues) override {
    watcher_.DataChanged(index_, DataHandles, USERValues);
  }

 private:
  Watcher& watcher_;
  const std::size_t index_;
};

class Watcher::RefreshSink final : public SpoolerEvents {
 public:
  explicit RefreshSink(Watcher& watcher) : watcher_(watcher) {}
  void ReadRatedRequestComplete(const std::shared_ptr<DataRequest>& RRequest) override {
    watcher_.Refreshed(*RRequest);
  }
  void ReadRequestComplete(const std::shared_ptr<DataRequest>& /*RRequest*/) override {}
  void WriteRequestComplete(const std::shared_ptr<DataRequest>& /*WRequest*/) override {}
  void CancelRequestComplete(const std::shared_ptr<DataRequest>& /*CRequest*/) override {}
  void DownloadFirmwareComplete() override {}
  void DownloadFirmwareInProgress(std::int16_t /*Percent*/) override {}
  void DownloadProjectComplete() override {}
  void DownloadProjectInProgress(std::int16_t /*Percent*/) override {}

 private:
  Watcher& watcher_;
};

Watcher::Watcher(Session& session, const std::vector<std::shared_ptr<KELDataGroup>>& groups,
                 std::optional<std::int32_t> rate, WatchView& view)
    : session_(session), view_(view) {
  for (const auto& group : groups) {
    if (group->KELDataItems()->Count() == 0) continue;
    if (rate) group->PutUpdateRate(*rate);
    group->PutSubscribed(true);
    group->PutActive(true);
    watched_.push_back({});
    watched_.back().group = group;
  }
  for (std::size_t k = 0; k < watched_.size(); ++k)
    watched_[k].cookie = watched_[k].group->Events().Advise(std::make_shared<GroupSink>(*this, k));
  // After the server's own handler, which raises DataChange: the values are known when this one is called.
  cookie_ = session_.server->Spooler()->Events().Advise(std::make_shared<RefreshSink>(*this));
}

Watcher::~Watcher() {
  session_.server->Spooler()->Events().Unadvise(cookie_);
  for (const Watched& watched : watched_) {
    watched.group->Events().Unadvise(watched.cookie);
    watched.group->PutSubscribed(false);
    watched.group->PutActive(false);
  }
}

void Watcher::Run(std::optional<std::chrono::milliseconds> duration, std::optional<std::int64_t> count) {
  using Clock = std::chrono::steady_clock;
  session_.Open();
  for (Watched& watched : watched_) {
    watched.answeredTick = session_.platform.TickCount();
    watched.answeredAt = session_.platform.LocalNow();
  }
  const Clock::time_point start = Clock::now();
  const auto done = [&] {
    LookForSilence();
    view_.Poll();
    return Interrupt::Requested() || !std::cout.good() || (count && counts_.events >= *count);
  };
  constexpr std::chrono::hours turn{24};  // a wait has an end; without a duration there is another
  for (;;) {
    std::chrono::milliseconds limit = turn;
    if (duration) limit = *duration - std::chrono::floor<std::chrono::milliseconds>(Clock::now() - start);
    if (limit.count() <= 0 ||
        session_.platform.RunUntil(done, std::min<std::chrono::milliseconds>(limit, turn)))
      break;
  }
  if (!Interrupt::Requested() && std::cout.good()) LookForMuteness();
  session_.Close();
}

bool Watcher::AnySilent() const {
  return std::any_of(watched_.begin(), watched_.end(), [](const Watched& watched) { return watched.silent; });
}

bool Watcher::AnyError() const {
  return std::any_of(watched_.begin(), watched_.end(), [](const Watched& watched) {
    return std::any_of(watched.errors.begin(), watched.errors.end(),
                       [](const auto& error) { return error.second != 0; });
  });
}

void Watcher::DataChanged(std::size_t index, const SafeArray<std::int32_t>& handles,
                          const SafeArray<Variant>& values) {
  ++counts_.events;
  for (std::size_t k = 0; k < handles.Size(); ++k)
    watched_[index].changed.insert_or_assign(handles.View()[k], values.View()[k]);
}

void Watcher::Refreshed(const DataRequest& request) {
  const RequestGroup* const answered = request.ReqGroup().get();
  const auto found = std::find_if(watched_.begin(), watched_.end(), [&](const Watched& watched) {
    return static_cast<const RequestGroup*>(watched.group.get()) == answered;
  });
  if (found == watched_.end()) return;
  Watched& watched = *found;
  watched.answered = true;
  if (std::exchange(watched.silent, false)) {
    view_.Silent(*watched.group, "");
    view_.Say("orvo: group '" + watched.group->GroupName() + "' answers again");
  }
  watched.answeredTick = session_.platform.TickCount();
  watched.answeredAt = session_.platform.LocalNow();

  const bool whole = request.RequestType() == RT_ReadGroupAsyncRated;
  const SafeArray<std::int32_t> handles = whole ? watched.group->Items().AllHandles() : request.Handles();
  const ReadResults results(request, handles.Size());
  const auto changed = std::exchange(watched.changed, {});
  std::vector<Change> changes;
  for (std::size_t k = 0; k < handles.Size(); ++k) {
    const std::int32_t handle = handles.View()[k];
    const std::int32_t error = whole ? request.Error() : results.Error(k);
    const auto value = changed.find(handle);
    const auto previous = watched.errors.find(handle);
    const bool sameError = previous == watched.errors.end() ? error == 0 : previous->second == error;
    watched.errors.insert_or_assign(handle, error);
    // An item that goes on failing is in each DataChange, and is no news.
    if (sameError && (value == changed.end() || error != 0)) continue;
    Change change{watched.group->KELDataItems()->Item(handle), {}, error};
    if (error == 0) change.value = value != changed.end() ? value->second : change.item->USERValue();
    changes.push_back(std::move(change));
  }
  counts_.values += static_cast<std::int64_t>(changes.size());
  view_.Refreshed(*watched.group, changes, counts_);
}

// Milliseconds without an answer after which a group counts as silent.
std::uint32_t Watcher::Patience(const KELDataGroup& group) {
  constexpr std::int64_t refreshes = 3;
  constexpr std::int64_t shortest = 2000;
  return static_cast<std::uint32_t>(std::max(shortest, refreshes * group.UpdateRate()));
}

void Watcher::LookForSilence() {
  for (Watched& watched : watched_) {
    const std::uint32_t since = session_.platform.TickCount() - watched.answeredTick;
    if (!watched.silent && since > Patience(*watched.group)) TellSilent(watched);
  }
}

// A watch may be too short for Patience; that nothing was seen is told all the same.
void Watcher::LookForMuteness() {
  const bool anyAnswered =
      std::any_of(watched_.begin(), watched_.end(), [](const Watched& watched) { return watched.answered; });
  for (Watched& watched : watched_) {
    const std::uint32_t since = session_.platform.TickCount() - watched.answeredTick;
    const bool wasDue = since >= static_cast<std::uint32_t>(watched.group->UpdateRate());
    if (!watched.answered && !watched.silent && (wasDue || !anyAnswered)) TellSilent(watched);
  }
}

void Watcher::TellSilent(Watched& watched) {
  watched.silent = true;
  constexpr std::size_t timeFrom = 11;
  constexpr std::size_t timeLength = 8;
  const std::string since = TimeText(watched.answeredAt).substr(timeFrom, timeLength);
  view_.Silent(*watched.group, since);
  view_.Say("orvo: group '" + watched.group->GroupName() + "' is silent: no answer since " + since + " (" +
            SecondsText(session_.platform.TickCount() - watched.answeredTick) + ")");
}

}  // namespace orvo::client
