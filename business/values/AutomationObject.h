// Base of every public class: identity, life count, and the place where an automation facade is remembered.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

namespace orvo {

class AutomationObject : public std::enable_shared_from_this<AutomationObject> {
 public:
  AutomationObject(const AutomationObject&) = delete;
  AutomationObject& operator=(const AutomationObject&) = delete;
  virtual ~AutomationObject() { live_.fetch_sub(1, std::memory_order_relaxed); }

  // Number of public objects alive in the process, on all threads.
  static std::int64_t LiveCount() noexcept { return live_.load(std::memory_order_relaxed); }

  // The facade that stands for this object towards another object system, or null. The object does not own it:
  // a facade owns the object, enters itself here and withdraws itself before it dies.
  void* Facade() const noexcept { return facade_; }
  void PutFacade(void* facade) noexcept { facade_ = facade; }

 protected:
  AutomationObject() noexcept { live_.fetch_add(1, std::memory_order_relaxed); }

 private:
  static inline std::atomic<std::int64_t> live_{0};
  void* facade_ = nullptr;
};

}  // namespace orvo
