#include "SpoolerFixture.h"

#include <limits>

namespace orvo::testing {
namespace {

constexpr std::int32_t Lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t Highest = std::numeric_limits<std::int32_t>::max();

TEST(DataRequestRecord, HandlesOfAFreshRecordAreAnEmptyArrayAndNoError) {
  const auto request = DataRequest::Create();
  EXPECT_EQ(request->Handles(), SafeArray<std::int32_t>());
  EXPECT_EQ(request->DATAValues(), SafeArray<Variant>());
  EXPECT_EQ(request->Errors(), SafeArray<std::int32_t>());
  EXPECT_EQ(request->Buffer(), SafeArray<std::uint8_t>());
  SafeArray<Variant> values{std::int32_t{1}};
  request->GetDATAValues(values);
  EXPECT_TRUE(values.IsEmpty());
}

TEST(DataRequestRecord, AFreshRecordIsZeroAndRefersToNothing) {
  const auto request = DataRequest::Create();
  EXPECT_EQ(request->PriorReq(), nullptr);
  EXPECT_EQ(request->NextReq(), nullptr);
  EXPECT_EQ(request->ReqGroup(), nullptr);
  EXPECT_EQ(request->ReqItem(), nullptr);
  EXPECT_EQ(request->RequestType(), 0);
  EXPECT_EQ(request->TransactionId(), 0);
  EXPECT_EQ(request->TickSent(), 0);
  EXPECT_EQ(request->Error(), 0);
  EXPECT_FALSE(request->IsConcluded());
}

TEST(DataRequestRecord, EachNumberIsKeptByItselfOverTheWholeRange) {
  const auto request = DataRequest::Create();
  for (const std::int32_t number : {Lowest, -1, 8, 14, Highest}) {
    request->PutRequestType(number);
    request->PutTransactionId(number / 2);
    request->PutTickSent(number / 3);
    request->PutError(number / 5);
    EXPECT_EQ(request->RequestType(), number);
    EXPECT_EQ(request->TransactionId(), number / 2);
    EXPECT_EQ(request->TickSent(), number / 3);
    EXPECT_EQ(request->Error(), number / 5);
  }
}

TEST(DataRequestRecord, ReferencesAreKeptEachInItsPlaceAndCanBeEmptied) {
  Log journal;
  const auto request = DataRequest::Create();
  const auto newer = DataRequest::Create();
  const auto older = DataRequest::Create();
  const auto group = std::make_shared<FakeGroup>(journal);
  const auto item = std::make_shared<FakeItem>();
  request->PutPriorReq(newer);
  request->PutNextReq(older);
  request->PutReqGroup(group);
  request->PutReqItem(item);
  EXPECT_EQ(request->PriorReq(), newer);
  EXPECT_EQ(request->NextReq(), older);
  EXPECT_EQ(request->ReqGroup(), group);
  EXPECT_EQ(request->ReqItem(), item);
  request->PutPriorReq(nullptr);
  request->PutNextReq(nullptr);
  request->PutReqGroup(nullptr);
  request->PutReqItem(nullptr);
  EXPECT_EQ(request->PriorReq(), nullptr);
  EXPECT_EQ(request->NextReq(), nullptr);
  EXPECT_EQ(request->ReqGroup(), nullptr);
  EXPECT_EQ(request->ReqItem(), nullptr);
}

TEST(DataRequestRecord, SettingAnArrayAndThenChangingTheCallersArrayDoesNotChangeTheRecord) {
  const auto request = DataRequest::Create();
  SafeArray<std::int32_t> handles{1, 2};
  SafeArray<Variant> values{std::int32_t{3}, "text that is longer than the place inside a value"};
  SafeArray<std::int32_t> errors{4, 5};
  SafeArray<std::uint8_t> buffer{6, 7};
  request->SetHandles(handles);
  request->SetDATAValues(values);
  request->SetErrors(errors);
  request->SetBuffer(buffer);
  handles.Put(0, 90);
  values.Put(1, std::int32_t{90});
  errors.Append(90);
  buffer.Edit()[0] = 90;
  EXPECT_EQ(LogText(request->Handles()), "[1,2]");
  EXPECT_EQ(LogText(request->DATAValues()),
            "[I4:3,String:\"text that is longer than the place inside a value\"]");
  EXPECT_EQ(LogText(request->Errors()), "[4,5]");
  EXPECT_EQ(request->Buffer(), (SafeArray<std::uint8_t>{6, 7}));
}

TEST(DataRequestRecord, ChangingWhatAGetBroughtDoesNotChangeTheRecord) {
  const auto request = DataRequest::Create();
  request->SetHandles({1, 2});
  request->SetDATAValues({std::int32_t{3}});
  request->SetErrors({4, 5});
  request->SetBuffer({6, 7});
  SafeArray<std::int32_t> handles = request->Handles();
  SafeArray<Variant> values = request->DATAValues();
  SafeArray<Variant> outValues;
  request->GetDATAValues(outValues);
  SafeArray<std::int32_t> errors = request->Errors();
  SafeArray<std::uint8_t> buffer = request->Buffer();
  EXPECT_EQ(LogText(outValues), "[I4:3]");
  handles.Put(0, 90);
  values.Put(0, std::int32_t{90});
  outValues.Put(0, std::int32_t{91});
  errors.Put(1, 90);
  buffer.Put(1, 90);
  EXPECT_EQ(LogText(request->Handles()), "[1,2]");
  EXPECT_EQ(LogText(request->DATAValues()), "[I4:3]");
  EXPECT_EQ(LogText(request->Errors()), "[4,5]");
  EXPECT_EQ(request->Buffer(), (SafeArray<std::uint8_t>{6, 7}));
}

TEST(DataRequestRecord, ASetReplacesTheWholeArrayAndKeepsItsBounds) {
  const auto request = DataRequest::Create();
  request->SetHandles({1, 2, 3});
  SafeArray<std::int32_t> other{9};
  other.Rebase(-4);
  request->SetHandles(other);
  request->SetErrors(other);
  EXPECT_EQ(LogText(request->Handles()), "-4:[9]");
  EXPECT_EQ(LogText(request->Errors()), "-4:[9]");
  request->SetHandles({});
  EXPECT_TRUE(request->Handles().IsEmpty());
}

TEST(DataRequestRecord, ARecordDiesWithItsLastReferenceAndLetsItsGroupAndItemGo) {
  Log journal;
  const std::int64_t before = AutomationObject::LiveCount();
  auto request = DataRequest::Create();
  request->PutReqGroup(std::make_shared<FakeGroup>(journal));
  request->PutReqItem(std::make_shared<FakeItem>());
  EXPECT_EQ(AutomationObject::LiveCount(), before + 1);
  EXPECT_EQ(FakeGroup::alive, 1);
  EXPECT_EQ(FakeItem::alive, 1);
  auto second = request;
  request.reset();
  EXPECT_EQ(FakeGroup::alive, 1);
  second.reset();
  EXPECT_EQ(AutomationObject::LiveCount(), before);
  EXPECT_EQ(FakeGroup::alive, 0);
  EXPECT_EQ(FakeItem::alive, 0);
}

TEST(RequestKinds, TheTwelveNamesHaveTheirValuesAndThereIsNo8) {
  EXPECT_EQ(RT_ReadGroupItemsAsync, 1);
  EXPECT_EQ(RT_WriteGroupItemsAsync, 2);
  EXPECT_EQ(RT_ReadGroupItemsAsyncRated, 3);
  EXPECT_EQ(RT_ReadGroupItemsSync, 4);
  EXPECT_EQ(RT_WriteGroupItemsSync, 5);
  EXPECT_EQ(RT_ReadItemSync, 6);
  EXPECT_EQ(RT_WriteItemSync, 7);
  EXPECT_EQ(RT_ReadGroupAsync, 9);
  EXPECT_EQ(RT_WriteGroupAsync, 10);
  EXPECT_EQ(RT_ReadGroupAsyncRated, 11);
  EXPECT_EQ(RT_ReadGroupSync, 12);
  EXPECT_EQ(RT_WriteGroupSync, 13);
}

TEST(RequestKinds, OnlyTheTwelveHaveAMeaning) {
  using Caller = RequestCaller;
  using Scope = RequestScope;
  using Direction = RequestDirection;
  struct Row {
    std::int32_t type;
    Caller caller;
    Scope scope;
    Direction direction;
  };
  const std::vector<Row> rows{
      {1, Caller::Client, Scope::ListedItems, Direction::Read},
      {2, Caller::Client, Scope::ListedItems, Direction::Write},
      {3, Caller::Refresh, Scope::ListedItems, Direction::Read},
      {4, Caller::Waiting, Scope::ListedItems, Direction::Read},
      {5, Caller::Waiting, Scope::ListedItems, Direction::Write},
      {6, Caller::Waiting, Scope::SingleItem, Direction::Read},
      {7, Caller::Waiting, Scope::SingleItem, Direction::Write},
      {9, Caller::Client, Scope::WholeGroup, Direction::Read},
      {10, Caller::Client, Scope::WholeGroup, Direction::Write},
      {11, Caller::Refresh, Scope::WholeGroup, Direction::Read},
      {12, Caller::Waiting, Scope::WholeGroup, Direction::Read},
      {13, Caller::Waiting, Scope::WholeGroup, Direction::Write},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE("kind " + std::to_string(row.type));
    const RequestKind* kind = FindRequestKind(row.type);
    ASSERT_NE(kind, nullptr);
    EXPECT_EQ(kind->caller, row.caller);
    EXPECT_EQ(kind->scope, row.scope);
    EXPECT_EQ(kind->direction, row.direction);
    EXPECT_EQ(IsSynchronous(row.type), row.caller == Caller::Waiting);
    EXPECT_EQ(IsRated(row.type), row.caller == Caller::Refresh);
  }
  for (const std::int32_t type : {Lowest, -1, 0, 8, 14, 15, 257, 65537, Highest}) {
    EXPECT_EQ(FindRequestKind(type), nullptr) << type;
    EXPECT_FALSE(IsSynchronous(type)) << type;
    EXPECT_FALSE(IsRated(type)) << type;
  }
}

}  // namespace
}  // namespace orvo::testing
