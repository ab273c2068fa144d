#include "Client.h"

#include <gtest/gtest.h>

#include <functional>

namespace orvo::testing {

using com::ComPtr;

namespace {

constexpr DISPID AsyncReadComplete = 2;
constexpr DWORD Patience = 10000;  // milliseconds until an event counts as lost

// The client's message loop, until `done`; whether it came to that.
bool PumpUntil(const std::function<bool()>& done) {
  const ULONGLONG end = GetTickCount64() + Patience;
  while (!done()) {
    if (GetTickCount64() > end) return false;
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 100, QS_ALLINPUT);
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
      DispatchMessageW(&message);
  }
  return true;
}

// An array with one handle.
class Handles {
 public:
  explicit Handles(LONG handle) : array_(SafeArrayCreateVector(VT_I4, 0, 1)) {
    LONG index = 0;
    SafeArrayPutElement(array_, &index, &handle);
  }
  Handles(const Handles&) = delete;
  Handles& operator=(const Handles&) = delete;
  ~Handles() { SafeArrayDestroy(array_); }
  SAFEARRAY** Address() noexcept { return &array_; }

 private:
  SAFEARRAY* array_;
};

}  // namespace

HRESULT CountingSink::QueryInterface(REFIID iid, void** result) {
  *result = nullptr;
  if (iid != __uuidof(IUnknown) && iid != __uuidof(IDispatch) && iid != __uuidof(__KELDataGroup))
    return E_NOINTERFACE;
  *result = static_cast<IDispatch*>(this);
  AddRef();
  return S_OK;
}

ULONG CountingSink::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT CountingSink::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) {
  if (id == AsyncReadComplete) ++asyncReads_;
  return S_OK;
}

ComPtr<_KELDataGroup> Configure(_KELDataServer& server, const std::wstring& driverFile) {
  EXPECT_EQ(server.SetDriverConfigurationFile(Text(driverFile)), S_OK);
  EXPECT_EQ(server.put_DeviceType(2), S_OK);
  ComPtr<_KELDataGroups> groups;
  EXPECT_EQ(server.get_KELDataGroups(groups.Put()), S_OK);
  VARIANT missing;
  V_VT(&missing) = VT_ERROR;
  V_ERROR(&missing) = DISP_E_PARAMNOTFOUND;
  ComPtr<_KELDataGroup> group;
  EXPECT_EQ(groups->Add(missing, group.Put()), S_OK);
  ComPtr<_KELDataItems> items;
  EXPECT_EQ(group->get_KELDataItems(items.Put()), S_OK);
  Text identifier(L"WO100");
  ComPtr<_KELDataItem> item;
  EXPECT_EQ(items->Add(identifier.Address(), missing, item.Put()), S_OK);
  EXPECT_EQ(group->put_Subscribed(VARIANT_TRUE), S_OK);
  return group;
}

void Exchange(_KELDataServer& server, _KELDataGroup& group) {
  const ComPtr<CountingSink> sink(new CountingSink);
  ComPtr<IConnectionPointContainer> container;
  ASSERT_EQ(group.QueryInterface(__uuidof(IConnectionPointContainer), container.PutVoid()), S_OK);
  ComPtr<IConnectionPoint> point;
  ASSERT_EQ(container->FindConnectionPoint(__uuidof(__KELDataGroup), point.Put()), S_OK);
  DWORD cookie = 0;
  ASSERT_EQ(point->Advise(sink.Get(), &cookie), S_OK);

  ASSERT_EQ(server.OpenCommunication(), S_OK);
  Handles handles(1);
  SAFEARRAY* values = nullptr;
  SAFEARRAY* errors = nullptr;
  EXPECT_EQ(group.SyncRead(handles.Address(), &values, &errors), S_OK);
  SafeArrayDestroy(values);
  SafeArrayDestroy(errors);
  LONG transaction = 0;
  EXPECT_EQ(group.AsyncRead(handles.Address(), &transaction), S_OK);
  EXPECT_TRUE(PumpUntil([&] { return sink->AsyncReads() == 1; })) << "the event did not come";
  EXPECT_EQ(server.CloseCommunication(), S_OK);
  EXPECT_EQ(point->Unadvise(cookie), S_OK);
}

}  // namespace orvo::testing
