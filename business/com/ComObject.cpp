#include "com/ComObject.h"

namespace orvo::com {

ULONG ComObject::AddReference() noexcept {
  return references_.fetch_add(1, std::memory_order_relaxed) + 1;
}

bool ComObject::TryAddReference() noexcept {
  ULONG count = references_.load(std::memory_order_relaxed);
  while (count != 0)
    if (references_.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) return true;
  return false;
}

ULONG ComObject::DropReference() noexcept {
  const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left != 0) return left;
  // What the end of the object calls may take and give back references: the count must not reach 0 again.
  references_.store(1, std::memory_order_relaxed);
  const std::shared_ptr<ThreadHome> home = home_;
  if (home->IsCurrentThread()) {
    delete this;
    return 0;
  }
  try {
    // The owner drops this one reference.
    home->Platform().Post([this] { DropReference(); });
  } catch (...) {
    // Without memory for the message the object stays for ever: better than ending on the wrong thread.
  }
  return 0;
}

HRESULT ComObject::WrongThread() const noexcept {
  return Report(RPC_E_WRONG_THREAD, "The object belongs to another thread", source_, iid_);
}

}  // namespace orvo::com
