// Connection points: who may connect, cookies, and what the enumerators show.

#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "boundary/TestSink.h"

#include <array>

namespace orvo::testing {
namespace {

class Connections : public Boundary {
 protected:
  Connections() {
    scene.Configure();
    group = scene.AddGroup();
    container = group.Query<IConnectionPointContainer>();
    point = PointOf(group.Get(), DIID___KELDataGroup);
  }

  ComPtr<_KELDataGroup> group;
  ComPtr<IConnectionPointContainer> container;
  ComPtr<IConnectionPoint> point;
  TestSink first{DIID___KELDataGroup};
  TestSink second{IID_NULL};
};

// Offers nothing but IUnknown.
class Mute final : public IUnknown {
 public:
  virtual ~Mute() = default;
  STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
    *result = iid == __uuidof(IUnknown) ? this : nullptr;
    return *result != nullptr ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
};

TEST_F(Connections, AreFoundByTheirEvents) {
  ComPtr<IConnectionPoint> found;
  EXPECT_EQ(container->FindConnectionPoint(DIID___KELDataGroup, found.Put()), S_OK);
  EXPECT_EQ(found.Get(), point.Get());
  IConnectionPoint* none = point.Get();
  EXPECT_EQ(container->FindConnectionPoint(DIID___KELDataServer, &none), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(container->FindConnectionPoint(DIID___KELDataGroup, nullptr), E_POINTER);
  IID events{};
  EXPECT_EQ(point->GetConnectionInterface(&events), S_OK);
  EXPECT_EQ(events, DIID___KELDataGroup);
  EXPECT_EQ(point->GetConnectionInterface(nullptr), E_POINTER);
  ComPtr<IConnectionPointContainer> owner;
  EXPECT_EQ(point->GetConnectionPointContainer(owner.Put()), S_OK);
  EXPECT_EQ(owner.Query<IUnknown>().Get(), group.Query<IUnknown>().Get());
  EXPECT_EQ(point->GetConnectionPointContainer(nullptr), E_POINTER);
}

TEST_F(Connections, PointsAreObjectsOfTheirOwn) {
  EXPECT_NE(point.Query<IUnknown>().Get(), group.Query<IUnknown>().Get());
  EXPECT_FALSE(point.Query<IDispatch>());
  EXPECT_FALSE(point.Query<IConnectionPointContainer>());
  // A point keeps what its connections need.
  container = nullptr;
  group = nullptr;
  scene.server = nullptr;
  DWORD cookie = 0;
  EXPECT_EQ(point->Advise(first.Face(), &cookie), S_OK);
  EXPECT_EQ(point->Unadvise(cookie), S_OK);
}

TEST_F(Connections, RefuseWhoCannotBeCalled) {
  Mute mute;
  DWORD cookie = 77;
  EXPECT_EQ(point->Advise(&mute, &cookie), static_cast<HRESULT>(CONNECT_E_CANNOTCONNECT));
  EXPECT_EQ(cookie, 0U);
  cookie = 77;
  EXPECT_EQ(point->Advise(nullptr, &cookie), E_POINTER);
  EXPECT_EQ(cookie, 0U);
  EXPECT_EQ(point->Advise(first.Face(), nullptr), E_POINTER);
  EXPECT_EQ(first.References(), 0U);
}

TEST_F(Connections, HaveCookiesOfTheirOwn) {
  DWORD one = 0;
  DWORD two = 0;
  EXPECT_EQ(point->Advise(first.Face(), &one), S_OK);
  EXPECT_EQ(point->Advise(first.Face(), &two), S_OK) << "the same sink again";
  EXPECT_NE(one, two);
  EXPECT_EQ(point->Unadvise(one), S_OK);
  EXPECT_EQ(point->Unadvise(one), CONNECT_E_NOCONNECTION) << "only once";
  EXPECT_EQ(point->Unadvise(0), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(point->Unadvise(0xFFFFFFFF), CONNECT_E_NOCONNECTION);
  EXPECT_NE(first.References(), 0U) << "by the second connection";
  DWORD three = 0;
  EXPECT_EQ(point->Advise(second.Face(), &three), S_OK);
  EXPECT_NE(three, one) << "a cookie is not given twice";
  EXPECT_EQ(point->Unadvise(two), S_OK);
  EXPECT_EQ(point->Unadvise(three), S_OK);
}

TEST_F(Connections, OfOneObjectAreNotAnothers) {
  const ComPtr<_KELDataGroup> other = scene.AddGroup();
  const ComPtr<IConnectionPoint> otherPoint = PointOf(other.Get(), DIID___KELDataGroup);
  EXPECT_NE(otherPoint.Get(), point.Get());
  DWORD one = 0;
  DWORD two = 0;
  point->Advise(first.Face(), &one);
  point->Advise(first.Face(), &one);
  otherPoint->Advise(second.Face(), &two);
  EXPECT_EQ(otherPoint->Unadvise(9999), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(otherPoint->Unadvise(two), S_OK);
  EXPECT_EQ(second.References(), 0U);
  EXPECT_NE(first.References(), 0U);
}

TEST_F(Connections, AreListed) {
  DWORD one = 0;
  DWORD two = 0;
  point->Advise(first.Face(), &one);
  point->Advise(second.Face(), &two);
  ComPtr<IEnumConnections> all;
  ASSERT_EQ(point->EnumConnections(all.Put()), S_OK);
  EXPECT_EQ(point->EnumConnections(nullptr), E_POINTER);
  std::array<CONNECTDATA, 3> list{};
  ULONG fetched = 77;
  EXPECT_EQ(all->Next(3, list.data(), &fetched), S_FALSE);
  ASSERT_EQ(fetched, 2U);
  EXPECT_EQ(list[0].dwCookie, one);
  EXPECT_EQ(list[0].pUnk, first.Face());
  EXPECT_EQ(list[1].dwCookie, two);
  EXPECT_EQ(list[1].pUnk, second.Face());
  list[0].pUnk->Release();
  list[1].pUnk->Release();
  EXPECT_EQ(all->Reset(), S_OK);
  EXPECT_EQ(all->Skip(1), S_OK);
  ComPtr<IEnumConnections> copy;
  EXPECT_EQ(all->Clone(copy.Put()), S_OK);
  EXPECT_EQ(copy->Next(1, list.data(), nullptr), S_OK);
  EXPECT_EQ(list[0].dwCookie, two);
  list[0].pUnk->Release();
  EXPECT_EQ(copy->Next(1, list.data(), &fetched), S_FALSE);
  EXPECT_EQ(fetched, 0U);
  point->Unadvise(one);
  point->Unadvise(two);
  all = nullptr;
  copy = nullptr;
  EXPECT_EQ(first.References() + second.References(), 0U);
}

TEST_F(Connections, OfAnObjectAreOnePoint) {
  ComPtr<IEnumConnectionPoints> all;
  ASSERT_EQ(container->EnumConnectionPoints(all.Put()), S_OK);
  EXPECT_EQ(container->EnumConnectionPoints(nullptr), E_POINTER);
  std::array<IConnectionPoint*, 2> list{};
  ULONG fetched = 77;
  EXPECT_EQ(all->Next(2, list.data(), &fetched), S_FALSE);
  ASSERT_EQ(fetched, 1U);
  EXPECT_EQ(list[0], point.Get());
  list[0]->Release();
  EXPECT_EQ(all->Next(1, list.data(), &fetched), S_FALSE);
  EXPECT_EQ(all->Reset(), S_OK);
  EXPECT_EQ(all->Next(1, list.data(), &fetched), S_OK);
  list[0]->Release();
}

TEST_F(Connections, EndWithTheirObject) {
  DWORD cookie = 0;
  point->Advise(first.Face(), &cookie);
  scene.Groups()->RemoveAll();
  EXPECT_NE(first.References(), 0U) << "the client still holds the group";
  point = nullptr;
  container = nullptr;
  group = nullptr;
  EXPECT_EQ(first.References(), 0U);
}

}  // namespace
}  // namespace orvo::testing
