// Enumerators over a snapshot: Next, Skip, Reset, Clone by the common rules of COM.
//
// `Rules` names the interface, its element, and how an element is copied and freed.
#pragma once

#include "com/ComObject.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace orvo::com {

template <class Rules>
class Enumerator final : public Rules::Interface, public ComObject {
 public:
  using Item = typename Rules::Item;        // as it is kept
  using Element = typename Rules::Element;  // as it is handed out

  explicit Enumerator(std::vector<Item> items, std::size_t position = 0)
      : ComObject(Rules::Source, __uuidof(typename Rules::Interface)),
        items_(std::move(items)),
        position_(position) {}

  static ComPtr<typename Rules::Interface> New(std::vector<Item> items, std::size_t position = 0) {
    return ComPtr<typename Rules::Interface>(new Enumerator(std::move(items), position));
  }

  STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    if (iid != __uuidof(IUnknown) && iid != __uuidof(typename Rules::Interface)) return E_NOINTERFACE;
    *result = static_cast<typename Rules::Interface*>(this);
    AddReference();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return AddReference(); }
  STDMETHODIMP_(ULONG) Release() override { return DropReference(); }

  STDMETHODIMP Next(ULONG count, Element* elements, ULONG* fetched) override {
    if (fetched != nullptr) *fetched = 0;
    if (elements == nullptr || (fetched == nullptr && count != 1)) return E_POINTER;
    return Call([&] {
      const std::size_t available = std::min<std::size_t>(count, items_.size() - position_);
      std::size_t made = 0;
      try {
        for (; made < available; ++made)
          Rules::Copy(items_[position_ + made], &elements[made]);
      } catch (...) {
        // Nothing is handed out and the position stays.
        while (made > 0)
          Rules::Free(&elements[--made]);
        throw;
      }
      position_ += available;
      if (fetched != nullptr) *fetched = static_cast<ULONG>(available);
      return available == count ? S_OK : S_FALSE;
    });
  }
  STDMETHODIMP Skip(ULONG count) override {
    return Call([&] {
      const std::size_t available = std::min<std::size_t>(count, items_.size() - position_);
      position_ += available;
      return available == count ? S_OK : S_FALSE;
    });
  }
  STDMETHODIMP Reset() override {
    return Call([&] { position_ = 0; });
  }
  // At the same position, over the same snapshot.
  STDMETHODIMP Clone(typename Rules::Interface** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    return Call([&] { *result = New(items_, position_).Detach(); });
  }

 private:
  const std::vector<Item> items_;
  std::size_t position_;
};

}  // namespace orvo::com
