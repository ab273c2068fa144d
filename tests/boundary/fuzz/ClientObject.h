// Objects of a client's own language as they appear among arguments: script arrays, well-behaved and otherwise,
// and things that are no arrays at all.
#pragma once

#include "com/Automation.h"
#include "com/ComPtr.h"
#include "com/SafeArrayAccess.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace orvo::testing {

// Counts what is alive: nothing may hold a client's object when all is over.
class ClientObjectCount {
 public:
  static std::int64_t Value() noexcept { return count_; }

 protected:
  ClientObjectCount() noexcept { ++count_; }
  ~ClientObjectCount() { --count_; }

 private:
  static inline std::int64_t count_ = 0;
};

// How such an object behaves.
enum class Habit {
  Array,           // "length" and elements "0", "1", ...
  ReadOnlyArray,   // refuses every put
  FailingElement,  // the get of element 1 fails
  LongArray,       // says that it has 2^31 - 1 elements
  NegativeArray,   // says that it has -1 elements
  TextLength,      // its length is the text "2"
  ObjectLength,    // its length is an object
  NoNames,         // knows no name
  FailingNames,    // fails when asked for a name
  EveryName,       // knows every name and answers nothing
  Raises,          // knows every name and fails with an exception of its own
  NoDispatch,      // has IUnknown only
};
inline constexpr int HabitCount = static_cast<int>(Habit::NoDispatch) + 1;

class ClientObject final : public IDispatchEx, private ClientObjectCount {
 public:
  using ClientObjectCount::Value;

  // `called`, which may be empty, runs inside every call by name.
  static com::ComPtr<IDispatch> New(Habit habit, std::function<void()> called);
  // Null for an object of somebody else.
  static ClientObject* Of(IUnknown* object);

  ClientObject(Habit habit, std::function<void()> called) : habit_(habit), called_(std::move(called)) {}

  void PutLength(LONG length) noexcept { length_ = length; }
  LONG Length() const noexcept { return length_; }
  // An element's value; the owner of the object fills it.
  VARIANT* Element(LONG index) { return elements_[index].Get(); }
  const std::map<LONG, com::OwnedVariant>& Elements() const noexcept { return elements_; }

  STDMETHODIMP QueryInterface(REFIID iid, void** result) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override;
  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** result) override;
  STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                      EXCEPINFO* failure, UINT* argument) override;
  STDMETHODIMP GetDispID(BSTR name, DWORD flags, DISPID* id) override;
  STDMETHODIMP InvokeEx(DISPID id, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                        EXCEPINFO* failure, IServiceProvider* caller) override;
  STDMETHODIMP DeleteMemberByName(BSTR, DWORD) override { return E_NOTIMPL; }
  STDMETHODIMP DeleteMemberByDispID(DISPID) override { return E_NOTIMPL; }
  STDMETHODIMP GetMemberProperties(DISPID, DWORD, DWORD*) override { return E_NOTIMPL; }
  STDMETHODIMP GetMemberName(DISPID, BSTR*) override { return E_NOTIMPL; }
  STDMETHODIMP GetNextDispID(DWORD, DISPID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP GetNameSpaceParent(IUnknown**) override { return E_NOTIMPL; }

 private:
  virtual ~ClientObject() = default;
  HRESULT GetLength(VARIANT* result) const;
  HRESULT Put(DISPID id, const DISPPARAMS& arguments);

  const Habit habit_;
  const std::function<void()> called_;
  ULONG references_ = 0;
  LONG length_ = 0;
  std::map<LONG, com::OwnedVariant> elements_;
};

}  // namespace orvo::testing
