// The group itself: properties, activation, the definition on the device and the periodic refresh.

#include "model/KELDataGroup.h"

#include "errors/ErrorHandling.h"
#include "errors/modConstant.h"
#include "model/KELDataGroups.h"
#include "spooler/modGroupsSpooler.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace orvo {

namespace {

// One fact per item, at the index of its handle, counted from 0 whatever the lower bound of `handles`.
template <class T, class Fact>
SafeArray<T> ByIndex(const KELDataItems& items, const SafeArray<std::int32_t>& handles, std::int64_t itemsEpoch,
                     Fact&& fact) {
  // kept: positions are counted with a 16-bit index.
  if (handles.UpperBound() > std::numeric_limits<std::int16_t>::max())
    RaiseRuntimeError(RuntimeError::Overflow);
  std::vector<T> facts(static_cast<std::size_t>(std::max(0, handles.UpperBound() + 1)));
  std::int64_t index = handles.LowerBound();
  for (const std::int32_t handle : handles.View()) {
    if (const KELDataItem* item = items.PeekAsOf(handle, itemsEpoch)) {
      const T found = fact(*item);  // its own failure comes before that of the index
      if (index < 0) RaiseRuntimeError(RuntimeError::SubscriptOutOfRange);
      facts[static_cast<std::size_t>(index)] = found;
    }
    ++index;
  }
  return SafeArray<T>(std::move(facts));
}

}  // namespace

std::shared_ptr<KELDataGroup> KELDataGroup::Create(ThreadPlatform& platform) {
  return std::make_shared<KELDataGroup>(platform);
}

KELDataGroup::KELDataGroup(ThreadPlatform& platform) : platform_(platform), items_(*this), timerId_(NoTimer) {}

// A group that goes while its timer runs takes the timer along; nobody else knows its identifier.
KELDataGroup::~KELDataGroup() {
  StopUpdates();
}

std::shared_ptr<KELDataGroup> KELDataGroup::Hold() const {
  return std::const_pointer_cast<KELDataGroup>(
      std::static_pointer_cast<const KELDataGroup>(shared_from_this()));
}

std::shared_ptr<orvo::KELDataItems> KELDataGroup::KELDataItems() {
  return {Hold(), &items_};
}

std::shared_ptr<KELDataServer> KELDataGroup::Parent() const {
  const std::shared_ptr<ModelServer> server = server_.lock();
  return server ? server->Server() : nullptr;
}

std::shared_ptr<ModelServer> KELDataGroup::RequireServer() const {
  std::shared_ptr<ModelServer> server = server_.lock();
  if (!server) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  return server;
}

std::string KELDataGroup::Trace(const char* operation) const {
  return std::string(":DataGroup.") + operation + "(GroupName=" + groupName_;
}

void KELDataGroup::PutActive(Boolean NewValue) {
  const std::shared_ptr<KELDataGroup> self = Hold();
  const bool activate = NewValue.IsTrue();
  if (activate == active_) return;
  WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("Active") + ",NewValue=" + (activate ? "True" : "False"); },
      [&] { activate ? PutActiveTrue() : PutActiveFalse(); });
}

// The definition on the device is kept: the group is now a candidate for eviction.
void KELDataGroup::PutActiveFalse() {
  active_ = false;
  const std::shared_ptr<ModelServer> server = server_.lock();
  if (!server || server->ServerStatus() == StatusRunning) StopUpdates();
}

void KELDataGroup::PutActiveTrue() {
  const std::shared_ptr<ModelServer> server = RequireServer();
  // A driver's failure is wrapped whatever its number; only the checks here raise errors of our own.
  const auto asked = [&](auto question) {
    return WithTrace(
        OwnErrors::Wrap, [&] { return Trace("Active") + ",NewValue=True"; }, question);
  };
  if (!asked([&] { return server->CanActivateGroup(); }))
    throw AutomationError(
        errInvalidValue,
        "Too many active groups : the max number of groups that can be active at the same time is " +
            std::to_string(asked([&] { return server->UsableGroupCapacity(); })));
  if (server->ServerStatus() != StatusRunning) {
    StopUpdates();
    active_ = true;
  } else {
    active_ = StartUpdates();
    // The driver can come back in and close communication while it defines the group.
    if (server->ServerStatus() != StatusRunning) StopUpdates();
  }
  if (active_) refreshValues_.clear();  // the first refresh from now on reports every item
}

void KELDataGroup::PutUpdateRate(std::int32_t NewValue) {
  const std::shared_ptr<KELDataGroup> self = Hold();
  if (NewValue < 0) throw AutomationError(errInvalidValue, "Update rate must be >= 0");
  if (!active_) {
    updateRate_ = NewValue;
    return;
  }
  PutActive(false);
  if (active_) return;
  updateRate_ = NewValue;
  PutActive(true);
}

bool KELDataGroup::EnsureDefined() {
  if (defined_) return true;
  const std::shared_ptr<ModelServer> server = server_.lock();
  const std::shared_ptr<KELDataGroups> groups = server ? server->Groups() : nullptr;
  if (!groups || !groups->DefineGroup(Hold())) return false;
  defined_ = true;
  return true;
}

bool KELDataGroup::ReleaseDefinition() {
  if (!defined_) return true;
  const std::shared_ptr<ModelServer> server = server_.lock();
  const std::shared_ptr<KELDataGroups> groups = server ? server->Groups() : nullptr;
  if (!groups || !groups->UndefineGroup(Hold())) return false;
  defined_ = false;
  return true;
}

bool KELDataGroup::StartUpdates() {
  if (!EnsureDefined()) {
    StopUpdates();
    return false;
  }
  StopUpdates();  // an open that is repeated must not leave a timer behind that belongs to nobody
  timerId_ = platform_.ModuleState<modGroupsSpooler>().StartTimer(updateRate_);
  return timerId_ >= 0;
}

bool KELDataGroup::StopUpdates() {
  if (timerId_ >= 0) platform_.ModuleState<modGroupsSpooler>().StopTimer(std::exchange(timerId_, NoTimer));
  return true;
}

void KELDataGroup::Refresh() {
  if (!active_) {
    StopUpdates();
    return;
  }
  if (refreshPending_) return;
  refreshPending_ = true;
  bool queued = false;
  // Whatever keeps the request from the queue, the next tick tries again.
  Suppressed([&] {
    if (items_.Count() < 1) return;
    const std::shared_ptr<ModelServer> server = RequireServer();
    const bool wholeGroup = server->TransfersWholeGroups();
    const SafeArray<std::int32_t> handles = items_.AllHandles();
    if (wholeGroup) {
      refreshHandles_.Resize(handles.Size());
      refreshValues_.resize(handles.Size());
      queued = server->QueueRatedReadAll(*this) != 0;
    } else {
      NoteRefreshHandles(handles);
      queued = server->QueueRatedRead(*this, handles) != 0;
    }
  });
  if (!queued) refreshPending_ = false;
}

// A position that now belongs to another item has no previous value.
void KELDataGroup::NoteRefreshHandles(const SafeArray<std::int32_t>& handles) {
  refreshValues_.resize(handles.Size());
  if (refreshHandles_ == handles) return;
  for (std::size_t k = 0; k < handles.Size(); ++k)
    if (k >= refreshHandles_.Size() || refreshHandles_.View()[k] != handles.View()[k])
      refreshValues_[k] = Variant();
  refreshHandles_ = handles;
}

bool KELDataGroup::FitsDevice() {
  return RequireServer()->CheckVariable(items_.TotalWordLength(), items_.Count());
}

void KELDataGroup::SetCompiledBufferDimension(std::int32_t NewValue) {
  WithTrace(
      OwnErrors::PassThrough,
      [&] { return Trace("SetCompiledBufferDimension") + ",NewValue=" + std::to_string(NewValue); },
      [&] {
        if (NewValue < 0) RaiseRuntimeError(RuntimeError::SubscriptOutOfRange);
        // kept: 0 gives a buffer of one byte.
        compiledBuffer_ = SafeArray<std::uint8_t>(NewValue == 0 ? 1U : static_cast<std::size_t>(NewValue));
      });
}

SafeArray<double> KELDataGroup::CompileVariable(const SafeArray<std::int32_t>& Handles) {
  return AddressesAsOf(Handles, items_.Epoch());
}

SafeArray<std::int16_t> KELDataGroup::GetDimension(const SafeArray<std::int32_t>& Handles) {
  return DimensionsAsOf(Handles, items_.Epoch());
}

SafeArray<double> KELDataGroup::AddressesAsOf(const SafeArray<std::int32_t>& Handles, std::int64_t itemsEpoch) {
  return WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("CompileVariable"); },
      [&] {
        return ByIndex<double>(items_, Handles, itemsEpoch,
                               [](const KELDataItem& item) { return item.CompiledAddress(); });
      });
}

SafeArray<std::int16_t> KELDataGroup::DimensionsAsOf(const SafeArray<std::int32_t>& Handles,
                                                     std::int64_t itemsEpoch) {
  return WithTrace(
      OwnErrors::PassThrough, [&] { return Trace("GetDimension"); },
      [&] {
        return ByIndex<std::int16_t>(items_, Handles, itemsEpoch,
                                     [](const KELDataItem& item) { return item.Dimension(); });
      });
}

}  // namespace orvo
