#include "com/ConnectionPoint.h"

#include "com/Automation.h"
#include "com/Enumerator.h"

namespace orvo::com {

namespace {

constexpr const char* Name = "ORVOBusiness.ConnectionPoint";

struct ConnectionRules {
  using Interface = IEnumConnections;
  using Item = ConnectedSink;
  using Element = CONNECTDATA;
  static constexpr const char* Source = Name;
  static void Copy(const Item& item, Element* element) {
    element->pUnk = ComPtr<IUnknown>(item.sink).Detach();
    element->dwCookie = static_cast<DWORD>(item.cookie);
  }
  static void Free(Element* element) { element->pUnk->Release(); }
};

struct PointRules {
  using Interface = IEnumConnectionPoints;
  using Item = ComPtr<IConnectionPoint>;
  using Element = IConnectionPoint*;
  static constexpr const char* Source = Name;
  static void Copy(const Item& item, Element* element) { *element = Item(item).Detach(); }
  static void Free(Element* element) { (*element)->Release(); }
};

}  // namespace

ComPtr<IConnectionPoint> ConnectionPoint::Of(EventPort& port) {
  if (port.point == nullptr) return ComPtr<IConnectionPoint>(new ConnectionPoint(port));
  return ComPtr<IConnectionPoint>(port.point);
}

ConnectionPoint::ConnectionPoint(EventPort& port)
    : ComObject(Name, __uuidof(IConnectionPoint)), port_(port), container_(port.Container()) {
  port_.point = this;
}

ConnectionPoint::~ConnectionPoint() {
  port_.point = nullptr;
}

HRESULT ConnectionPoint::QueryInterface(REFIID iid, void** result) {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  if (iid != __uuidof(IUnknown) && iid != __uuidof(IConnectionPoint)) return E_NOINTERFACE;
  *result = static_cast<IConnectionPoint*>(this);
  AddReference();
  return S_OK;
}

HRESULT ConnectionPoint::GetConnectionInterface(IID* result) {
  if (result == nullptr) return E_POINTER;
  *result = port_.EventInterface();
  return S_OK;
}

HRESULT ConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** result) {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  return Call([&] { *result = ComPtr<IConnectionPointContainer>(container_).Detach(); });
}

HRESULT ConnectionPoint::Advise(IUnknown* sink, DWORD* cookie) {
  if (cookie == nullptr) return E_POINTER;
  *cookie = 0;
  if (sink == nullptr) return E_POINTER;
  return Call([&] { *cookie = static_cast<DWORD>(port_.Advise(*sink)); });
}

HRESULT ConnectionPoint::Unadvise(DWORD cookie) {
  return Call([&]() -> HRESULT {
    return port_.Unadvise(static_cast<std::int32_t>(cookie)) ? S_OK : CONNECT_E_NOCONNECTION;
  });
}

HRESULT ConnectionPoint::EnumConnections(IEnumConnections** result) {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  return Call([&] { *result = Enumerator<ConnectionRules>::New(port_.Sinks()).Detach(); });
}

HRESULT EnumerateConnectionPoints(EventPort& port, IEnumConnectionPoints** result) {
  std::vector<ComPtr<IConnectionPoint>> points;
  points.push_back(ConnectionPoint::Of(port));
  *result = Enumerator<PointRules>::New(std::move(points)).Detach();
  return S_OK;
}

HRESULT FindConnectionPoint(EventPort& port, REFIID iid, IConnectionPoint** result) {
  if (iid != port.EventInterface()) return CONNECT_E_NOCONNECTION;
  *result = ConnectionPoint::Of(port).Detach();
  return S_OK;
}

}  // namespace orvo::com
