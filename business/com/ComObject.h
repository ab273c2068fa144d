// What every COM object of this module is made of: reference count, owning thread, the way in for calls.
//
// An object belongs to the thread on which it was made; calls from another one are answered with
// RPC_E_WRONG_THREAD. Only the counting of references works everywhere; an object whose last reference goes on
// another thread ends on its own.
#pragma once

#include "com/ComError.h"
#include "com/ModuleCount.h"
#include "com/ThreadHome.h"

#include <atomic>
#include <concepts>
#include <memory>
#include <type_traits>

namespace orvo::com {

class ComObject {
 public:
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

 protected:
  // `source` names the class in error information, for example "ORVOBusiness.KELDataItem".
  ComObject(const char* source, REFIID iid) : home_(ThreadHome::Current()), source_(source), iid_(iid) {}
  virtual ~ComObject() = default;

  ULONG AddReference() noexcept;
  // Fails when there is no reference any more.
  bool TryAddReference() noexcept;
  ULONG DropReference() noexcept;

  ThreadHome& Home() const noexcept { return *home_; }
  const char* Source() const noexcept { return source_; }

  // Runs one call of a client: on the right thread, with this object held, and with every failure turned into a
  // result with error information. `body` may return a result of its own.
  template <class Body>
  HRESULT Call(Body&& body) noexcept {
    if (!home_->IsCurrentThread()) return WrongThread();
    const Visit visit(*this);
    SetErrorInfo(0, nullptr);  // what an earlier failure left behind is no text of this call
    try {
      if constexpr (std::same_as<std::invoke_result_t<Body>, HRESULT>) {
        return body();
      } else {
        body();
        return S_OK;
      }
    } catch (...) {
      return ReportCaught(source_, iid_);
    }
  }
  HRESULT WrongThread() const noexcept;

 private:
  // Holds the object and its home for the length of a call: a client may release its last reference inside.
  class Visit {
   public:
    explicit Visit(ComObject& object) noexcept : object_(object), home_(object.home_) {
      object_.AddReference();
      home_->Enter();
    }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;
    ~Visit() {
      object_.DropReference();
      home_->Leave();
    }

   private:
    ComObject& object_;
    const std::shared_ptr<ThreadHome> home_;
  };

  ModuleLock lock_;  // goes last
  const std::shared_ptr<ThreadHome> home_;
  const char* const source_;
  const IID& iid_;
  std::atomic<ULONG> references_{0};
};

}  // namespace orvo::com
