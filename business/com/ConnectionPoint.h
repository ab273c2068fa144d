// The place where a client connects its event sinks to an object.
//
// The sinks themselves live in the core object, so a connection outlasts the facade by which it was made, and
// its cookie is good at every facade of the object. An object has one connection point.
#pragma once

#include "com/Automation.h"
#include "com/ComObject.h"

#include <vector>

namespace orvo::com {

// A sink as a client connected it.
struct ConnectedSink {
  std::int32_t cookie = 0;
  ComPtr<IUnknown> sink;
};

class ConnectionPoint;

// What a connection point asks of the object whose events it stands for.
class EventPort {
 public:
  EventPort() = default;
  EventPort(const EventPort&) = delete;
  EventPort& operator=(const EventPort&) = delete;
  virtual ~EventPort() = default;

  virtual REFIID EventInterface() const noexcept = 0;
  // Connects; CONNECT_E_CANNOTCONNECT for a sink that offers neither the event interface nor dispatch.
  virtual std::int32_t Advise(IUnknown& sink) = 0;
  virtual bool Unadvise(std::int32_t cookie) = 0;
  virtual std::vector<ConnectedSink> Sinks() = 0;
  virtual ComPtr<IConnectionPointContainer> Container() = 0;

  // The point that clients hold; it withdraws itself when it ends.
  ConnectionPoint* point = nullptr;
};

class ConnectionPoint final : public IConnectionPoint, public ComObject {
 public:
  // The point of the port: the one that is there, or a new one.
  static ComPtr<IConnectionPoint> Of(EventPort& port);

  explicit ConnectionPoint(EventPort& port);
  ~ConnectionPoint() override;

  STDMETHODIMP QueryInterface(REFIID iid, void** result) override;
  STDMETHODIMP_(ULONG) AddRef() override { return AddReference(); }
  STDMETHODIMP_(ULONG) Release() override { return DropReference(); }
  STDMETHODIMP GetConnectionInterface(IID* result) override;
  STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** result) override;
  STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
  STDMETHODIMP Unadvise(DWORD cookie) override;
  STDMETHODIMP EnumConnections(IEnumConnections** result) override;

 private:
  EventPort& port_;
  const ComPtr<IConnectionPointContainer> container_;  // keeps the port
};

// IConnectionPointContainer for an object with one port.
HRESULT EnumerateConnectionPoints(EventPort& port, IEnumConnectionPoints** result);
HRESULT FindConnectionPoint(EventPort& port, REFIID iid, IConnectionPoint** result);

}  // namespace orvo::com
