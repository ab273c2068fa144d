#include "spooler/modMonoSpooler.h"

#include "errors/modConstant.h"
#include "spooler/DataRequests.h"

namespace orvo {

void modMonoSpooler::RegisterSpooler(const std::shared_ptr<DataRequests>& spooler) {
  spooler_ = spooler;
  registered_ = spooler.get();
  ServerTerminating = false;
}

bool modMonoSpooler::UnregisterSpooler(const DataRequests& spooler) noexcept {
  if (!IsRegistered(spooler)) return false;
  spooler_.reset();
  registered_ = nullptr;
  return true;
}

void modMonoSpooler::Start() {
  processing_ = false;
  delivering_ = false;
  ServerTerminating = false;
  if (timerId_ != 0) return;
  timerId_ = platform_.SetTimer(SpoolerInterval, [this](std::int32_t timerId) { Tick(timerId); });
}

void modMonoSpooler::Stop() {
  ServerTerminating = true;
  if (timerId_ <= 0) return;
  platform_.KillTimer(timerId_);
  timerId_ = 0;
}

void modMonoSpooler::Tick(std::int32_t timerId) noexcept {
  if (spooler_.expired() || ServerTerminating) {
    platform_.KillTimer(timerId);
    if (timerId_ == timerId) timerId_ = 0;  // so that a later Start makes a new timer
    return;
  }
  platform_.PumpOnce();
  // A stop that ran in the pump holds from here on: what is queued waits for the next start.
  if (ServerTerminating) return;
  // A nested tick may have run meanwhile, and the spooler may be gone.
  const std::shared_ptr<DataRequests> spooler = spooler_.lock();
  bool& running = deliveryPhase_ ? delivering_ : processing_;
  if (running) return;
  running = true;
  if (spooler) deliveryPhase_ ? spooler->DeliverNext() : spooler->ProcessNext();
  running = false;
  deliveryPhase_ = !deliveryPhase_;
}

}  // namespace orvo
