// The item as an object: defaults, options, and reading and writing one item synchronously.
#include "unit/model/ItemFixture.h"
#include "unit/model/ItemFormatFixture.h"

namespace orvo::testing {
namespace {

const std::string NotRunning = "-2147221503: Invalid State: Server isn't running";

TEST(ItemDefaults, AFreshItemHasNothing) {
  SimulatedPlatform platform;
  KELDataItem item(platform);
  EXPECT_EQ(item.Handle(), 0);
  EXPECT_EQ(item.ItemName(), "");
  EXPECT_EQ(item.ItemId(), "");
  EXPECT_EQ(item.Parent(), nullptr);
  EXPECT_EQ(item.AccessRights(), 0);
  EXPECT_TRUE(item.DATAValue().IsEmpty());
  EXPECT_TRUE(item.USERValue().IsEmpty());
  EXPECT_EQ(item.TimeStamp(), Date{});
  EXPECT_EQ(item.CompiledAddress(), 0.0);
  EXPECT_FALSE(item.Signed());
  EXPECT_FALSE(item.BCD());
  EXPECT_FALSE(item.WriteDone());
  EXPECT_EQ(item.ItemType(), 0);
  EXPECT_EQ(item.ItemWordLength(), 0);
  EXPECT_EQ(item.ItemGroupBufferOffset(), 0);
}

TEST(ItemOptions, SignedAndBcdAreNeverBothTrue) {
  SimulatedPlatform platform;
  KELDataItem item(platform);
  const auto options = [&] { return std::string(item.Signed() ? "S" : "-") + (item.BCD() ? "B" : "-"); };
  item.PutSigned(true);
  EXPECT_EQ(options(), "S-");
  item.PutBCD(true);
  EXPECT_EQ(options(), "-B");
  item.PutSigned(false);
  EXPECT_EQ(options(), "-B") << "setting one to false leaves the other alone";
  item.PutSigned(true);
  EXPECT_EQ(options(), "S-");
  item.PutBCD(false);
  EXPECT_EQ(options(), "S-");
  item.PutSigned(true);
  EXPECT_EQ(options(), "S-");
  item.PutSigned(false);
  EXPECT_EQ(options(), "--");
}

// One item at the address 1, communication open; the driver's log is empty.
class ItemTransfer : public ItemFixture {
 protected:
  void Open(const std::string& itemId = "WO1") {
    item = items->Add(itemId, Variant("Speed"));
    plant->server->OpenCommunication();
    plant->AnswerByItself();
    Driver().log.clear();
  }
  void AnswerWrites(std::int32_t error) {
    Driver().during["WriteItems"] = [this, error] {
      plant->platform.Post([this, error] { Driver().Sink().AsyncWriteComplete({error}); });
    };
  }
  void AnswerReads(const Variant& value, std::int32_t error) {
    Driver().during["ReadItems"] = [this, value, error] {
      plant->platform.Post([this, value, error] { Driver().Sink().AsyncReadComplete({value}, {error}); });
    };
  }
  // "I2:5 data=I2:5 stamped written" of the item, without the words that do not apply.
  std::string State() {
    std::string text = "data=" + LogText(item->DATAValue());
    if (item->TimeStamp() != Date{}) text += " stamped";
    if (item->WriteDone()) text += " written";
    return text;
  }
  Variant value = "untouched";
  Variant time = "untouched";
  std::int32_t error = -77;
};

TEST_F(ItemTransfer, AReadBringsTheClientValueTheTimeAndNoError) {
  Open();
  AnswerReads(Word(0xFFFF), 0);
  item->SyncRead(value, error, &time);
  EXPECT_EQ(LogText(value), "R8:65535");
  EXPECT_EQ(error, 0);
  EXPECT_EQ(time, Variant(Now()));
  EXPECT_EQ(item->TimeStamp(), Now());
  EXPECT_EQ(LogText(item->DATAValue()), "I2:-1");
  EXPECT_FALSE(item->WriteDone());
  EXPECT_EQ(Driver().log, (Log{"ReadItems(addresses=[1],dimensions=[1])"}));
  EXPECT_EQ(plant->events, Log{});
}

TEST_F(ItemTransfer, AReadWithoutTheTimeArgumentStillStampsTheItem) {
  Open();
  const Date before = Now();
  plant->Advance(1000ms);
  item->SyncRead(value, error);
  EXPECT_EQ(LogText(value), "I2:1");
  EXPECT_EQ(item->TimeStamp(), Now());
  EXPECT_GT(item->TimeStamp().days, before.days);
}

TEST_F(ItemTransfer, AReadThatTheDeviceRefusesLeavesEverything) {
  Open();
  AnswerReads(Word(9), 7);
  item->SyncRead(value, error, &time);
  EXPECT_EQ(error, 7);
  EXPECT_EQ(LogText(value), R"(String:"untouched")");
  EXPECT_EQ(LogText(time), R"(String:"untouched")");
  EXPECT_EQ(State(), "data=Empty");
  AnswerReads(Word(9), 0);
  item->SyncRead(value, error);
  const Date stamp = item->TimeStamp();
  plant->Advance(1000ms);
  AnswerReads(Word(10), -5);
  item->SyncRead(value, error, &time);
  EXPECT_EQ(error, -5);
  EXPECT_EQ(LogText(value), "I2:9");
  EXPECT_EQ(State(), "data=I2:9 stamped");
  EXPECT_EQ(item->TimeStamp(), stamp);
}

TEST_F(ItemTransfer, AReadThatTheDriverDoesNotTakeHasTheError99) {
  Open();
  Driver().during.clear();
  Driver().Fail("ReadItems", 4, "line broken", 1);
  item->SyncRead(value, error, &time);
  EXPECT_EQ(error, 99);
  EXPECT_EQ(LogText(value), R"(String:"untouched")");
  EXPECT_EQ(State(), "data=Empty");
  plant->AnswerByItself();
  item->SyncRead(value, error);
  EXPECT_EQ(error, 0) << "the next one goes through";
}

TEST_F(ItemTransfer, AReadThatIsNeverAnsweredHasTheError1After10Seconds) {
  Open();
  Driver().during.clear();
  const auto before = plant->platform.Now();
  item->SyncRead(value, error, &time);
  EXPECT_EQ(error, 1);
  EXPECT_GE(plant->platform.Now() - before, 10s);
  EXPECT_LE(plant->platform.Now() - before, 11s);
  EXPECT_EQ(LogText(value), R"(String:"untouched")");
  EXPECT_EQ(LogText(time), R"(String:"untouched")");
  EXPECT_EQ(State(), "data=Empty");
}

TEST_F(ItemTransfer, AnAnswerWithoutAValueOrWithoutAnErrorIsNoReading) {
  Open();
  Driver().during["ReadItems"] = [this] {
    plant->platform.Post([this] { Driver().Sink().AsyncReadComplete({Word(5)}, {}); });
  };
  item->SyncRead(value, error, &time);
  EXPECT_EQ(error, 9);
  EXPECT_EQ(State(), "data=Empty");
}

TEST_F(ItemTransfer, AnAnswerToAWriteWithoutAnErrorIsNoSuccess) {
  Open();
  Driver().during["WriteItems"] = [this] {
    plant->platform.Post([this] { Driver().Sink().AsyncWriteComplete({}); });
  };
  item->SyncWrite(Variant(5.0), error);
  EXPECT_EQ(error, 9);
  EXPECT_EQ(State(), "data=Empty");
}

TEST_F(ItemTransfer, AnItemWhoseLengthDoesNotFit16BitsIsNeverSent) {
  item = AddItem("RA12", ItemTypeRaw, 40000);
  plant->server->OpenCommunication();
  plant->AnswerByItself();
  Driver().log.clear();
  item->SyncRead(value, error);
  EXPECT_EQ(error, 99);
  item->SyncWrite(Bytes({1}), error);
  EXPECT_EQ(error, 99);
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_EQ(State(), "data=Empty");
}

TEST_F(ItemTransfer, AReadWhoseValueCannotBeConvertedIsAnInternalErrorWithTheRawValueStored) {
  Open();
  AnswerReads(Word(1), 0);
  Device().extract = [](double, Variant&) { throw AutomationError(4, "line broken"); };
  const std::string text = ErrorOf([&] { item->SyncRead(value, error, &time); });
  EXPECT_TRUE(text.starts_with("-2147221490: INTERNAL ERROR, please contact support. code4:line broken\r\n:"))
      << text;
  EXPECT_EQ(LogText(value), R"(String:"untouched")");
  EXPECT_EQ(LogText(time), R"(String:"untouched")");
  EXPECT_EQ(error, 0) << "the device was read";
  EXPECT_EQ(State(), "data=I2:1") << "not stamped";
}

TEST_F(ItemTransfer, AWriteSendsTheRawValueAndStoresItWithTheTime) {
  Open();
  plant->Advance(500ms);
  item->SyncWrite(Variant("65535"), error);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(State(), "data=I4:65535 stamped written");
  EXPECT_EQ(item->TimeStamp(), Now());
  EXPECT_EQ(LogText(item->USERValue()), "I4:65535");
  EXPECT_EQ(Driver().log, (Log{"WriteItems(addresses=[1],dimensions=[1],values=[I4:65535])"}));
}

TEST_F(ItemTransfer, AWriteOfATextSendsItsBytes) {
  Open("ST123454");
  item->SyncWrite(Variant("ABCDEF"), error);
  EXPECT_EQ(Driver().log, (Log{"WriteItems(addresses=[1],dimensions=[2],values=[UI1[65,66,67,68]])"}));
  EXPECT_EQ(State(), "data=UI1[65,66,67,68] stamped written");
  EXPECT_EQ(LogText(item->USERValue()), R"(String:"ABCD")");
}

TEST_F(ItemTransfer, AWriteOfABcdItemSendsTheIntegerItself) {
  Open();
  item->PutBCD(true);
  item->SyncWrite(Variant(1234.0), error);
  EXPECT_EQ(Driver().log, (Log{"WriteItems(addresses=[1],dimensions=[1],values=[I4:1234])"}));
}

TEST_F(ItemTransfer, ADoubleWordAbove2147483647TravelsAsTheSameBitsAndComesBackAsTheSameNumber) {
  Open("DW1");
  for (const double number : {2147483648.0, 3000000000.0, 4294967295.0}) {
    Driver().log.clear();
    item->SyncWrite(Variant(number), error);
    const auto bits = static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
    EXPECT_EQ(Driver().log,
              (Log{"WriteItems(addresses=[1],dimensions=[2],values=[I4:" + std::to_string(bits) + "])"}));
    EXPECT_EQ(item->USERValue(), Variant(number)) << "from the written value";
    AnswerReads(DoubleWord(static_cast<std::uint32_t>(number)), 0);
    item->SyncRead(value, error);
    EXPECT_EQ(value, Variant(number)) << "from the device";
    item->SetItemGroupBufferOffset(1);
    std::vector<std::uint8_t> image(6, 9);
    item->StoreIntoBuffer(item->RawValue(item->CheckClientValue(Variant(number))), image);
    item->SetDATAValue(item->ExtractFromBuffer(image));
    EXPECT_EQ(item->USERValue(), Variant(number)) << "from the group's image";
  }
}

TEST_F(ItemTransfer, AWriteThatTheDeviceRefusesLeavesEverything) {
  Open();
  AnswerWrites(7);
  item->SyncWrite(Variant(5.0), error);
  EXPECT_EQ(error, 7);
  EXPECT_EQ(State(), "data=Empty");
  AnswerWrites(0);
  item->SyncWrite(Variant(6.0), error);
  const Date stamp = item->TimeStamp();
  item->SetWriteDone(false);
  plant->Advance(1000ms);
  AnswerWrites(-1);
  item->SyncWrite(Variant(7.0), error);
  EXPECT_EQ(error, -1);
  EXPECT_EQ(State(), "data=I4:6 stamped");
  EXPECT_EQ(item->TimeStamp(), stamp);
}

TEST_F(ItemTransfer, AWriteThatTheDriverDoesNotTakeOrDoesNotAnswerLeavesEverything) {
  Open();
  Driver().during.clear();
  Driver().Fail("WriteItems", 4, "line broken", 1);
  item->SyncWrite(Variant(5.0), error);
  EXPECT_EQ(error, 99);
  EXPECT_EQ(State(), "data=Empty");
  item->SyncWrite(Variant(5.0), error);
  EXPECT_EQ(error, 1);
  EXPECT_EQ(State(), "data=Empty");
}

TEST_F(ItemTransfer, AValueThatTheItemCannotTakeIsAFormatErrorAndNothingIsSent) {
  Open();
  for (const Variant& refused : {Variant(-1.0), Variant(65536.0), Variant(1.5), Variant("abc"), Variant(true),
                                 Bytes({1, 2}), Variant(ErrorCode{1})}) {
    EXPECT_EQ(ErrorOf([&] { item->SyncWrite(refused, error); }),
              "-2147221489: INVALID FORMAT Format not correct")
        << LogText(refused);
  }
  EXPECT_EQ(error, -77);
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_EQ(State(), "data=Empty");
}

TEST_F(ItemTransfer, WhileTheServerIsNotRunningNothingIsReadOrWritten) {
  item = items->Add("WO1");
  Driver().log.clear();
  EXPECT_EQ(ErrorOf([&] { item->SyncRead(value, error, &time); }), NotRunning);
  EXPECT_EQ(ErrorOf([&] { item->SyncWrite(Variant(5.0), error); }), NotRunning);
  EXPECT_EQ(ErrorOf([&] { item->SyncWrite(Variant("abc"), error); }), NotRunning) << "asked first";
  EXPECT_EQ(error, -77);
  EXPECT_EQ(LogText(value), R"(String:"untouched")");
  EXPECT_EQ(State(), "data=Empty");
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(ItemTransfer, BeforeADeviceTypeIsChosenNothingIsReadOrWrittenEither) {
  items.reset();
  group.reset();
  plant = std::make_unique<Plant>();
  group = plant->server->KELDataGroups()->Add("G");
  item = group->KELDataItems()->AddCompiled("X");
  ASSERT_EQ(plant->server->ServerStatus(), 1);
  EXPECT_EQ(ErrorOf([&] { item->SyncRead(value, error); }), NotRunning);
  EXPECT_EQ(ErrorOf([&] { item->SyncWrite(Variant(1.0), error); }), NotRunning);
}

TEST_F(ItemTransfer, ACompiledItemIsReadAndWrittenLikeAnyOther) {
  item = items->AddCompiled("X");
  item->SetCompiledAddress(42);
  item->SetItemWordLength(1);
  plant->server->OpenCommunication();
  plant->AnswerByItself();
  Driver().log.clear();
  item->SyncRead(value, error);
  EXPECT_EQ(LogText(value), "I2:42");
  item->SyncWrite(Variant(1.0), error);
  EXPECT_EQ(Driver().log, (Log{"ReadItems(addresses=[42],dimensions=[1])",
                               "WriteItems(addresses=[42],dimensions=[1],values=[I4:1])"}));
}

TEST_F(ItemTransfer, TheItemMayBeLetGoWhileItIsRead) {
  Open();
  items.reset();
  group.reset();
  Driver().during["ReadItems"] = [this] {
    plant->platform.Post([this] {
      item.reset();
      plant->server->CloseCommunication();
      plant->server->KELDataGroups()->RemoveAll();
      Driver().Sink().AsyncReadComplete({Word(5)}, {0});
    });
  };
  KELDataItem& read = *item;
  read.SyncRead(value, error);
  EXPECT_EQ(error, 1) << "communication was closed before the answer was delivered";
}

TEST_F(ItemTransfer, AnItemThatIsLetGoWhileItsReadFailsStillNamesItselfInTheError) {
  Open();
  items.reset();
  group.reset();
  Device().extract = [](double, Variant&) { throw AutomationError(4, "line broken"); };
  Driver().during["ReadItems"] = [this] {
    plant->platform.Post([this] {
      item.reset();
      Driver().Sink().AsyncReadComplete({Word(5)}, {0});
      plant->server->CloseCommunication();
      plant->server->KELDataGroups()->RemoveAll();
      plant->server->OpenCommunication();
    });
  };
  KELDataItem& read = *item;
  EXPECT_EQ(ErrorOf([&] { read.SyncRead(value, error); }),
            "-2147221490: INTERNAL ERROR, please contact support. code4:line broken\r\n"
            ":DataItem.SyncRead(ItemName=Speed");
}

TEST_F(ItemTransfer, TheServerMayBeReleasedWhileAnItemIsWritten) {
  Open();
  Driver().during["WriteItems"] = [this] { plant->platform.Post([this] { plant->server.reset(); }); };
  EXPECT_NO_FATAL_FAILURE(ErrorOf([&] { item->SyncWrite(Variant(5.0), error); }));
  EXPECT_EQ(State(), "data=Empty");
}

}  // namespace
}  // namespace orvo::testing
