// A counted reference to a COM object.
#pragma once

#include "com/Automation.h"

#include <utility>

namespace orvo::com {

template <class T>
class ComPtr {
 public:
  ComPtr() noexcept = default;
  ComPtr(std::nullptr_t) noexcept {}
  // Takes a reference of its own.
  explicit ComPtr(T* object) noexcept : object_(object) {
    if (object_ != nullptr) object_->AddRef();
  }
  ComPtr(const ComPtr& other) noexcept : ComPtr(other.object_) {}
  ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ComPtr() {
    if (object_ != nullptr) object_->Release();
  }
  // Takes over the reference that the caller holds.
  static ComPtr Adopt(T* object) noexcept {
    ComPtr pointer;
    pointer.object_ = object;
    return pointer;
  }

  T* Get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }
  // Gives the reference to the caller.
  T* Detach() noexcept { return std::exchange(object_, nullptr); }
  // For functions that hand out a reference; what was held is released first.
  T** Put() noexcept {
    *this = nullptr;
    return &object_;
  }
  void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }

  // The same object by another interface; null when it does not offer it.
  template <class Other>
  ComPtr<Other> Query(REFIID iid) const noexcept {
    ComPtr<Other> result;
    if (object_ == nullptr || FAILED(object_->QueryInterface(iid, result.PutVoid()))) return nullptr;
    return result;
  }
  template <class Other>
  ComPtr<Other> Query() const noexcept {
    return Query<Other>(__uuidof(Other));
  }

 private:
  T* object_ = nullptr;
};

}  // namespace orvo::com
