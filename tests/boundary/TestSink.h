// An event sink of a client: writes each event as one line and runs what a test wants to happen inside it.
//
// A typed sink answers for the event interface, a dispatch-only one (events IID_NULL) for IDispatch alone.
#pragma once

#include "boundary/Value.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace orvo::testing {

class TestSink final : public IDispatch {
 public:
  explicit TestSink(REFIID events) : events_(events) {}
  TestSink(const TestSink&) = delete;
  TestSink& operator=(const TestSink&) = delete;
  virtual ~TestSink() = default;

  // "1(I4[0: 1], Variant[0: I2:5])": the event's identifier and its arguments.
  std::vector<std::string> log;
  // The types of the latest event's arguments.
  std::vector<VARTYPE> types;
  // Run inside the event.
  std::map<DISPID, std::function<void()>> during;
  HRESULT answer = S_OK;
  ULONG References() const { return references_; }
  IUnknown* Face() { return this; }

  STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
    *result = nullptr;
    if (iid != __uuidof(IUnknown) && iid != __uuidof(IDispatch) && (events_ == IID_NULL || iid != events_))
      return E_NOINTERFACE;
    *result = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  // Lives in the test; the count only tells who holds it.
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override { return --references_; }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    std::string line = std::to_string(id) + "(";
    types.clear();
    for (UINT k = arguments->cArgs; k-- > 0;) {
      types.push_back(arguments->rgvarg[k].vt);
      line += (types.size() == 1 ? "" : ", ") + Text(arguments->rgvarg[k]);
    }
    log.push_back(line + ")");
    if (const auto found = during.find(id); found != during.end()) {
      const auto action = found->second;
      action();
    }
    return answer;
  }

 private:
  const IID events_;
  ULONG references_ = 0;
};

// The connection point of an object for these events.
inline ComPtr<IConnectionPoint> PointOf(IUnknown* object, REFIID events) {
  ComPtr<IConnectionPointContainer> container;
  ComPtr<IConnectionPoint> point;
  if (SUCCEEDED(object->QueryInterface(__uuidof(IConnectionPointContainer), container.PutVoid())))
    container->FindConnectionPoint(events, point.Put());
  return point;
}

}  // namespace orvo::testing
