// Enumerators: Next, Skip, Reset, Clone, and what they show when the collection changes.

#include "boundary/Calls.h"
#include "boundary/Scene.h"

#include <array>

namespace orvo::testing {
namespace {

class Enumerators : public Boundary {
 protected:
  Enumerators() {
    scene.Configure();
    for (const char* name : {"A", "B", "C"})
      groups_.push_back(scene.AddGroup({}, name));
  }

  ComPtr<IEnumVARIANT> New() {
    ComPtr<IUnknown> enumerator;
    EXPECT_EQ(scene.Groups()->get_NewEnum(enumerator.Put()), S_OK);
    return enumerator.Query<IEnumVARIANT>();
  }
  // The names of the next `count` elements, and the result and number that Next answered.
  std::string Next(const ComPtr<IEnumVARIANT>& enumerator, ULONG count) {
    std::vector<VARIANT> elements(count + 1);
    for (VARIANT& element : elements)
      VariantInit(&element);
    ULONG fetched = 77;
    const HRESULT result = enumerator->Next(count, elements.data(), &fetched);
    std::string text;
    for (VARIANT& element : elements) {
      if (element.vt == VT_DISPATCH)
        text += Invoke(element.pdispVal, L"GroupName", Get).value->bstrVal[0] == L'\0'
                    ? "?"
                    : Text(Invoke(element.pdispVal, L"GroupName", Get).value).substr(5, 1);
      VariantClear(&element);
    }
    return text + " " + std::to_string(result) + " " + std::to_string(fetched);
  }

  std::vector<ComPtr<_KELDataGroup>> groups_;
};

TEST_F(Enumerators, GiveTheElementsInTheirOrder) {
  const ComPtr<IEnumVARIANT> all = New();
  EXPECT_EQ(Next(all, 2), "AB 0 2");
  EXPECT_EQ(Next(all, 2), "C 1 1");
  EXPECT_EQ(Next(all, 1), " 1 0");
  EXPECT_EQ(Next(all, 0), " 0 0");
  EXPECT_EQ(all->Reset(), S_OK);
  EXPECT_EQ(Next(all, 3), "ABC 0 3");
}

TEST_F(Enumerators, GiveTheSameObjectsAsTheCollection) {
  const ComPtr<IEnumVARIANT> all = New();
  std::array<Value, 3> elements;
  for (std::size_t k = 0; k < 3; ++k) {
    EXPECT_EQ(all->Next(1, elements[k].Get(), nullptr), S_OK) << "without a count, one at a time";
    EXPECT_EQ((*elements[k]).pdispVal, Dispatch(groups_[k]));
  }
  Value none = I2(5);
  EXPECT_EQ(all->Next(1, none.Get(), nullptr), S_FALSE);
}

TEST_F(Enumerators, RefuseMissingPointers) {
  const ComPtr<IEnumVARIANT> all = New();
  std::array<VARIANT, 2> elements{};
  ULONG fetched = 77;
  EXPECT_EQ(all->Next(2, elements.data(), nullptr), E_POINTER) << "nobody would know how many";
  EXPECT_EQ(all->Next(1, nullptr, &fetched), E_POINTER);
  EXPECT_EQ(fetched, 0U);
  EXPECT_EQ(all->Clone(nullptr), E_POINTER);
  EXPECT_EQ(all->QueryInterface(__uuidof(IUnknown), nullptr), E_POINTER);
  EXPECT_EQ(Next(all, 3), "ABC 0 3") << "nothing was taken";
}

TEST_F(Enumerators, SkipAsFarAsThereIsSomething) {
  const ComPtr<IEnumVARIANT> all = New();
  EXPECT_EQ(all->Skip(0), S_OK);
  EXPECT_EQ(all->Skip(2), S_OK);
  EXPECT_EQ(Next(all, 2), "C 1 1");
  all->Reset();
  EXPECT_EQ(all->Skip(3), S_OK);
  EXPECT_EQ(all->Skip(1), S_FALSE);
  all->Reset();
  EXPECT_EQ(all->Skip(0xFFFFFFFF), S_FALSE);
  EXPECT_EQ(Next(all, 1), " 1 0");
}

TEST_F(Enumerators, CloneAtTheirPosition) {
  const ComPtr<IEnumVARIANT> all = New();
  all->Skip(1);
  ComPtr<IEnumVARIANT> copy;
  ASSERT_EQ(all->Clone(copy.Put()), S_OK);
  EXPECT_EQ(Next(copy, 3), "BC 1 2");
  EXPECT_EQ(Next(all, 1), "B 0 1") << "each has a position of its own";
  EXPECT_EQ(copy->Reset(), S_OK);
  EXPECT_EQ(Next(copy, 1), "A 0 1");
  EXPECT_EQ(Next(all, 1), "C 0 1");
}

TEST_F(Enumerators, ShowWhatWasThereWhenTheyWereMade) {
  const ComPtr<IEnumVARIANT> before = New();
  groups_.clear();
  EXPECT_EQ(Next(before, 1), "A 0 1");
  scene.Groups()->RemoveByName(&Text16("B"));
  scene.AddGroup({}, "D");
  EXPECT_EQ(Next(before, 9), "BC 1 2") << "a snapshot keeps what was removed";
  EXPECT_EQ(Next(New(), 9), "ACD 1 3");
  scene.Groups()->RemoveAll();
  EXPECT_EQ(Next(New(), 1), " 1 0");
  before->Reset();
  EXPECT_EQ(Next(before, 9), "ABC 1 3");
}

TEST_F(Enumerators, OutliveTheCollection) {
  const ComPtr<IEnumVARIANT> all = New();
  groups_.clear();
  scene.server = nullptr;
  EXPECT_EQ(Next(all, 9), "ABC 1 3");
}

TEST_F(Enumerators, OfferTheirOwnInterfaceOnly) {
  const ComPtr<IEnumVARIANT> all = New();
  const auto identity = all.Query<IUnknown>();
  EXPECT_EQ(identity.Query<IEnumVARIANT>().Get(), all.Get());
  EXPECT_FALSE(all.Query<IDispatch>());
}

TEST_F(Enumerators, AreReachedByNameWithEitherFlag) {
  const ComPtr<_KELDataGroups> groups = scene.Groups();
  for (const WORD flags : {Get, Method, static_cast<WORD>(Get | Method)}) {
    SCOPED_TRACE(flags);
    Reply reply = Invoke(groups.Get(), DISPID_NEWENUM, flags);
    ASSERT_EQ((*reply.value).vt, VT_UNKNOWN) << reply.text;
    const auto all = ComPtr<IUnknown>(reply.value->punkVal).Query<IEnumVARIANT>();
    EXPECT_EQ(Next(all, 3), "ABC 0 3");
  }
}

TEST_F(Enumerators, OfItems) {
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100", "WO102"}, "Line");
  Reply items = Invoke(group.Get(), L"KELDataItems", Get);
  Reply reply = Invoke(items.value->pdispVal, DISPID_NEWENUM, Get);
  const auto all = ComPtr<IUnknown>(reply.value->punkVal).Query<IEnumVARIANT>();
  std::array<Value, 2> elements;
  EXPECT_EQ(all->Next(1, elements[0].Get(), nullptr), S_OK);
  EXPECT_EQ(all->Next(1, elements[1].Get(), nullptr), S_OK);
  EXPECT_EQ((*elements[0]).pdispVal, Dispatch(scene.Item(group, 1)));
  EXPECT_EQ((*elements[1]).pdispVal, Dispatch(scene.Item(group, 2)));
}

}  // namespace
}  // namespace orvo::testing
