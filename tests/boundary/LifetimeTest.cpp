// Everything may be released in every order, and what is left goes on working.

#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "boundary/TestSink.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace orvo::testing {
namespace {

// One reference to everything that a client can hold of a system.
class Holdings {
 public:
  static constexpr std::size_t Count = 7;

  explicit Holdings(Scene& scene) {
    scene.server = nullptr;
    scene.Configure();
    server_ = scene.server;
    groups_ = scene.Groups();
    group_ = scene.AddGroup({"WO100", "FL112"});
    group_->get_KELDataItems(items_.Put());
    item_ = scene.Item(group_, 1);
    ComPtr<IUnknown> enumerator;
    items_->get_NewEnum(enumerator.Put());
    enumerator_ = enumerator.Query<IEnumVARIANT>();
    point_ = PointOf(group_.Get(), DIID___KELDataGroup);
    DWORD cookie = 0;
    EXPECT_EQ(point_->Advise(sink.Face(), &cookie), S_OK);
    scene.server = nullptr;
  }

  void Release(std::size_t number) {
    switch (number) {
      case 0:
        server_ = nullptr;
        break;
      case 1:
        groups_ = nullptr;
        break;
      case 2:
        group_ = nullptr;
        break;
      case 3:
        items_ = nullptr;
        break;
      case 4:
        item_ = nullptr;
        break;
      case 5:
        enumerator_ = nullptr;
        break;
      default:
        point_ = nullptr;
        break;
    }
  }

  // What needs no server works whatever else is gone.
  void Use() {
    LONG number = -1;
    if (server_) {
      EXPECT_EQ(server_->get_ServerStatus(&number), S_OK);
      EXPECT_EQ(number, 2);
    }
    if (groups_) {
      EXPECT_EQ(groups_->get_Count(&number), S_OK);
    }
    if (group_) {
      EXPECT_EQ(group_->get_Handle(&number), S_OK);
      EXPECT_EQ(number, 1);
    }
    if (items_) {
      EXPECT_EQ(items_->get_Count(&number), S_OK);
      EXPECT_EQ(number, 2);
    }
    if (item_) {
      ComPtr<_KELDataGroup> parent;
      EXPECT_EQ(item_->get_Parent(parent.Put()), S_OK);
      EXPECT_TRUE(parent) << "an item that a client holds keeps its group";
      if (group_) {
        EXPECT_EQ(parent.Get(), group_.Get());
      }
    }
    if (enumerator_) {
      Value element;
      EXPECT_EQ(enumerator_->Reset(), S_OK);
      EXPECT_EQ(enumerator_->Next(1, element.Get(), nullptr), S_OK);
    }
    if (point_) {
      IID events{};
      EXPECT_EQ(point_->GetConnectionInterface(&events), S_OK);
    }
  }

  TestSink sink{DIID___KELDataGroup};

 private:
  ComPtr<_KELDataServer> server_;
  ComPtr<_KELDataGroups> groups_;
  ComPtr<_KELDataGroup> group_;
  ComPtr<_KELDataItems> items_;
  ComPtr<_KELDataItem> item_;
  ComPtr<IEnumVARIANT> enumerator_;
  ComPtr<IConnectionPoint> point_;
};

TEST_F(Boundary, EveryOrderOfReleasesLeavesNothing) {
  std::array<std::size_t, Holdings::Count> order{};
  std::iota(order.begin(), order.end(), std::size_t{0});
  do {
    Holdings holdings(scene);
    for (const std::size_t number : order) {
      holdings.Release(number);
      holdings.Use();
    }
    const bool clean =
        scene.ObjectsAlive() == 0 && AutomationObject::LiveCount() == 0 && holdings.sink.References() == 0;
    if (!clean || HasFailure()) {
      std::string text;
      for (const std::size_t number : order)
        text += std::to_string(number) + " ";
      FAIL() << "something is left after releasing in the order " << text;
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(Boundary, AChildWithoutItsServerSaysSo) {
  scene.Configure();
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100"});
  const ComPtr<_KELDataItem> item = scene.Item(group, 1);
  const ComPtr<_KELDataGroups> groups = scene.Groups();
  ComPtr<_KELDataItems> items;
  group->get_KELDataItems(items.Put());
  scene.server = nullptr;

  const auto fails = [](const std::string& text) {
    EXPECT_TRUE(text.starts_with("8")) << text;
    EXPECT_NE(text.find("\" ORVOBusiness."), std::string::npos) << "with text and source: " << text;
  };
  ComPtr<_KELDataServer> parent;
  Value value;
  LONG error = 5;
  fails(SlotText(item->SyncRead(value.Get(), &error, Missing().Get())));
  fails(Invoke(item.Get(), L"SyncWrite", Method, {I2(1), I4(0)}).text);
  fails(Invoke(group.Get(), L"AsyncReadAll", Method, {I4(0)}).text);
  fails(Invoke(items.Get(), L"Add", Method, {Str("WO102")}).text);
  EXPECT_EQ(Invoke(item.Get(), L"ItemId", Get).text, "Str:\"WO100\"");
  EXPECT_EQ(Invoke(item.Get(), L"USERValue", Get).text, "Empty");
  EXPECT_EQ(Invoke(group.Get(), L"GroupName", Get).text, "Str:\"Group_1\"");
  EXPECT_EQ(group->put_Subscribed(VARIANT_TRUE), S_OK);
}

TEST_F(Boundary, AnItemThatIsHeldOutlivesItsRemoval) {
  scene.Configure();
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100"});
  const ComPtr<_KELDataItem> item = scene.Item(group, 1);
  Reply items = Invoke(group.Get(), L"KELDataItems", Get);
  EXPECT_EQ(Invoke(items.value->pdispVal, L"RemoveAll", Method).text, "Empty");
  EXPECT_EQ(Invoke(scene.Groups().Get(), L"RemoveAll", Method).text, "Empty");
  EXPECT_EQ(Invoke(item.Get(), L"ItemName", Get).text, "Str:\"Item_1\"");
  EXPECT_EQ(Invoke(item.Get(), L"Parent", Get).value->pdispVal, Dispatch(group));
}

TEST_F(Boundary, TheLastObjectEndsTheThreadsHome) {
  scene.Configure();
  const ComPtr<_KELDataItem> item = scene.Item(scene.AddGroup({"WO100"}), 1);
  const std::weak_ptr<com::ThreadHome> home = scene.DropHome();
  scene.server = nullptr;
  EXPECT_FALSE(home.expired()) << "an item needs it";
  const_cast<ComPtr<_KELDataItem>&>(item) = nullptr;
  EXPECT_TRUE(home.expired());
}

TEST_F(Boundary, AServerMayGoWhileRequestsAreUnderWay) {
  scene.Open("scripted.ini");
  scene.server->CloseCommunication();
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100"});
  scene.server->OpenCommunication();
  for (int k = 0; k < 3; ++k)
    EXPECT_EQ(Invoke(group.Get(), L"AsyncReadAll", Method, {I4(0)}).text, "Empty");
  scene.Advance(100ms);
  EXPECT_FALSE(scene.scripted->log.empty());
}

}  // namespace
}  // namespace orvo::testing
