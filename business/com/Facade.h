// The facade of a public class: one thin object per core object, with the class's dual interface.
//
// While a client holds a facade, the core object has that one and no other, so the same object is the same
// pointer. It keeps the core object; the core object knows it without keeping it. Nothing of the system's
// behaviour is here.
#pragma once

#include "com/ConnectionPoint.h"
#include "com/DispatchObject.h"
#include "values/EventSource.h"

#include <memory>
#include <type_traits>

namespace orvo::com {

// Whether a facade keeps its core object alive.
enum class Keeps { Object, Nothing };

template <class Core, class Interface, class... More>
class Facade : public DispatchObject<Interface, IFacade, IProvideClassInfo2, More...> {
  using Base = DispatchObject<Interface, IFacade, IProvideClassInfo2, More...>;

 public:
  std::shared_ptr<AutomationObject> CoreObject() override {
    return this->Home().IsCurrentThread() ? weak_.lock() : nullptr;
  }
  bool TryHold() noexcept override { return this->TryAddReference(); }

  STDMETHODIMP GetClassInfo(ITypeInfo** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    return this->Call([&] { *result = this->Home().Types().Type(class_).Detach(); });
  }
  STDMETHODIMP GetGUID(DWORD kind, GUID* result) override {
    if (result == nullptr) return E_POINTER;
    *result = GUID_NULL;
    if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) return E_INVALIDARG;
    *result = SourceInterface();
    return *result == GUID_NULL ? E_FAIL : S_OK;
  }

 protected:
  Facade(std::shared_ptr<Core> core, REFCLSID classId, const char* source, Keeps keeps = Keeps::Object)
      : Base(source), weak_(core), class_(classId) {
    core->PutFacade(static_cast<IFacade*>(this));
    if (keeps == Keeps::Object) core_ = std::move(core);
  }
  ~Facade() override {
    // First of all: what the end of the core object calls must not find this facade any more.
    const auto core = weak_.lock();
    if (core && core->Facade() == static_cast<IFacade*>(this)) core->PutFacade(nullptr);
  }

  // The core object, held for the length of the expression. Error 91 when it has ended.
  std::shared_ptr<Core> Object() const {
    std::shared_ptr<Core> core = weak_.lock();
    if (!core) RaiseRuntimeError(RuntimeError::ObjectNotSet);
    return core;
  }
  // The event interface, or null for a class without events.
  virtual GUID SourceInterface() const noexcept { return GUID_NULL; }

  void* OtherFace(REFIID iid) override {
    return iid == __uuidof(IProvideClassInfo) ? static_cast<IProvideClassInfo2*>(this) : nullptr;
  }

 private:
  std::shared_ptr<Core> core_;
  const std::weak_ptr<Core> weak_;
  const CLSID& class_;
};

// A facade of a class with events. `Events` is the core's event interface, `Sink` the client's sink behind it.
template <class Core, class Events, class Sink, class Interface, class Source, class... More>
class SourceFacade : public Facade<Core, Interface, IConnectionPointContainer, More...>, public EventPort {
  using Base = Facade<Core, Interface, IConnectionPointContainer, More...>;

 public:
  STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    return this->Call([&] { return com::EnumerateConnectionPoints(*this, result); });
  }
  STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    return this->Call([&] { return com::FindConnectionPoint(*this, iid, result); });
  }

  REFIID EventInterface() const noexcept override { return __uuidof(Source); }
  std::int32_t Advise(IUnknown& sink) override {
    return this->Object()->Events().Advise(std::make_shared<Sink>(sink, __uuidof(Source)));
  }
  bool Unadvise(std::int32_t cookie) override { return this->Object()->Events().Unadvise(cookie); }
  std::vector<ConnectedSink> Sinks() override {
    std::vector<ConnectedSink> sinks;
    this->Object()->Events().Visit([&](std::int32_t cookie, const std::shared_ptr<Events>& sink) {
      if (const auto own = std::dynamic_pointer_cast<Sink>(sink)) sinks.push_back({cookie, own->Identity()});
    });
    return sinks;
  }
  ComPtr<IConnectionPointContainer> Container() override {
    return ComPtr<IConnectionPointContainer>(static_cast<IConnectionPointContainer*>(this));
  }

 protected:
  using Base::Base;
  GUID SourceInterface() const noexcept override { return __uuidof(Source); }
};

// The core object of class Core behind an interface pointer of ours; null for null. Error 13 for a foreign
// object and for one of another class.
template <class Core>
std::shared_ptr<Core> CoreOf(IUnknown* object) {
  if (object == nullptr) return nullptr;
  std::shared_ptr<Core> core = std::dynamic_pointer_cast<Core>(OwnObject(object));
  if (!core) RaiseRuntimeError(RuntimeError::TypeMismatch, "the object is not of this class");
  return core;
}

}  // namespace orvo::com
