// COM drivers behind the core's driver contract, called by slot and by name, with the same expectations.

#include "boundary/drivers/NameRecorder.h"
#include "boundary/drivers/Operations.h"
#include "boundary/drivers/SlotRecorder.h"
#include "com/Bstr.h"
#include "com/DriverImport.h"
#include "errors/AutomationError.h"

#include <gtest/gtest.h>

namespace orvo::testing {

namespace {

// Typed: by name, by a driver whose members have declared types.
enum class Way { Slot, Name, Typed };

std::string NumberAndText(const std::function<void()>& call) {
  try {
    call();
  } catch (const AutomationError& error) {
    return std::to_string(error.Number()) + ": " + error.Description();
  }
  return "none";
}

class DriverImport : public ::testing::TestWithParam<Way> {
 protected:
  DriverImport() {
    if (BySlot())
      driver = com::ImportDriver(ComPtr<IUnknown>(new SlotRecorder(recorder)));
    else
      driver = com::ImportDriver(ComPtr<IUnknown>(NewNamed()));
  }
  ~DriverImport() override {
    driver.reset();
    EXPECT_EQ(recorder.use_count(), 1) << "the COM driver or its device is still held";
  }

  static bool BySlot() { return GetParam() == Way::Slot; }
  static bool WithTypedArrays() { return GetParam() != Way::Name; }
  NameRecorder* NewNamed() const {
    auto* const made = new NameRecorder(recorder);
    made->typed = GetParam() == Way::Typed;
    return made;
  }
  std::shared_ptr<DeviceObject> NewDevice() {
    const ComPtr<IDispatch> late(BySlot() ? nullptr : NewNamed());
    recorder->answers["CreateDevice"] = BySlot() ? I4(1) : Object(late.Get());
    const auto device = driver->CreateDevice("PanelB");
    recorder->answers.erase("CreateDevice");
    recorder->Lines();
    return device;
  }

  const std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
  std::shared_ptr<CommunicationDriver> driver;
};

INSTANTIATE_TEST_SUITE_P(Ways, DriverImport, ::testing::Values(Way::Slot, Way::Name, Way::Typed),
                         [](const auto& way) {
                           if (way.param == Way::Slot) return "Slot";
                           return way.param == Way::Name ? "Name" : "Typed";
                         });

TEST_P(DriverImport, EveryOperationArrivesWithItsArgumentsAndAnswers) {
  for (const Operation& operation : Operations()) {
    recorder->answers[operation.name] = operation.answer;
    EXPECT_EQ(operation.call(*driver), operation.result) << operation.name;
    const std::string& arguments = WithTypedArrays() ? operation.bySlot : operation.byName;
    EXPECT_EQ(recorder->Lines(), operation.name + (arguments.empty() ? "" : " ") + arguments);
  }
}

TEST_P(DriverImport, EveryOperationFailsWithTheDriversNumberAndText) {
  for (const Operation& operation : Operations()) {
    recorder->failures[operation.name] = {static_cast<HRESULT>(0x800A0002), operation.name + " fails"};
    EXPECT_EQ(NumberAndText([&] { operation.call(*driver); }), "2: " + operation.name + " fails");
  }
}

TEST_P(DriverImport, NumbersOfFailuresArriveAsTheyAre) {
  struct Row {
    HRESULT result;
    int number;
  };
  const Row rows[] = {{static_cast<HRESULT>(0x800A0001), 1},
                      {static_cast<HRESULT>(0x800A000A), 10},
                      {static_cast<HRESULT>(0x800A0063), 99},
                      {static_cast<HRESULT>(0x800A1388), 5000},
                      {static_cast<HRESULT>(0x80040009), static_cast<int>(0x80040009)},
                      {E_FAIL, static_cast<int>(E_FAIL)}};
  for (const Row& row : rows) {
    recorder->failures["BoardStatus"] = {row.result, "reason"};
    EXPECT_EQ(NumberAndText([&] { driver->BoardStatus(); }), std::to_string(row.number) + ": reason");
  }
}

TEST_P(DriverImport, AFailureWithoutTextGetsTheSystemsText) {
  recorder->failures["BoardStatus"] = {E_OUTOFMEMORY, ""};
  const std::string failure = NumberAndText([&] { driver->BoardStatus(); });
  const std::string number = std::to_string(static_cast<int>(E_OUTOFMEMORY)) + ": ";
  EXPECT_EQ(failure.substr(0, number.size()), number);
  EXPECT_GT(failure.size(), number.size());
}

TEST_P(DriverImport, WhatAnEarlierFailureLeftIsNoTextOfALaterOne) {
  const auto create = [] {
    ComPtr<ICreateErrorInfo> creator;
    CreateErrorInfo(creator.Put());
    const com::Bstr text("stale");
    creator->SetDescription(text.Get());
    SetErrorInfo(0, creator.Query<IErrorInfo>().Get());
  };
  recorder->failures["BoardStatus"] = {E_FAIL, ""};
  create();
  EXPECT_EQ(NumberAndText([&] { driver->BoardStatus(); }).find("stale"), std::string::npos);
}

TEST_P(DriverImport, LowerBoundsAreKept) {
  driver->ReadItems(SafeArray<double>(std::vector<double>{7}, 3),
                    SafeArray<std::int16_t>(std::vector<std::int16_t>{1}, -2));
  EXPECT_EQ(recorder->Lines(), WithTypedArrays() ? "ReadItems R8[3: 7], I2[-2: 1]"
                                                 : "ReadItems Variant[3: R8:7], Variant[-2: I2:1]");
}

TEST_P(DriverImport, ReservedOperationsAreNotPassedOn) {
  driver->Reserved18();
  driver->Reserved23();
  driver->Reserved29();
  EXPECT_EQ(recorder->Lines(), "");
}

TEST_P(DriverImport, AnUnknownDeviceKindHasNoDevice) {
  EXPECT_EQ(driver->CreateDevice("PanelX"), nullptr);
  EXPECT_EQ(recorder->Lines(), "CreateDevice Str:\"PanelX\"");
}

TEST_P(DriverImport, AFailingCreateDevicePassesItsNumberOn) {
  recorder->failures["CreateDevice"] = {static_cast<HRESULT>(0x800A0063), "no device"};
  EXPECT_EQ(NumberAndText([&] { driver->CreateDevice("PanelB"); }), "99: no device");
}

TEST_P(DriverImport, ADeviceCompilesIdentifiers) {
  const auto device = NewDevice();
  recorder->answers["CompileItemId"] = Flag(true);
  recorder->answers["Address"] = R8(100.5);
  recorder->answers["Length"] = I4(2);
  recorder->answers["Type"] = I4(3);
  double address = 0;
  std::int32_t length = 0;
  std::int32_t type = 0;
  EXPECT_TRUE(device->CompileItemId("RA036", address, length, type));
  EXPECT_EQ(recorder->Lines(), "CompileItemId Str:\"RA036\", R8:0, I4:0, I4:0");
  EXPECT_EQ(address, 100.5);
  EXPECT_EQ(length, 2);
  EXPECT_EQ(type, 3);
  recorder->answers["CompileItemId"] = Flag(false);
  EXPECT_FALSE(device->CompileItemId("XX", address, length, type));
  recorder->failures["CompileItemId"] = {static_cast<HRESULT>(0x800A000A), "no such variable: XX"};
  EXPECT_EQ(NumberAndText([&] { device->CompileItemId("XX", address, length, type); }),
            "10: no such variable: XX");
}

TEST_P(DriverImport, ADeviceExtractsValues) {
  const auto device = NewDevice();
  recorder->answers["Value"] = I2(1);
  Variant value = std::int32_t{9};
  device->ExtractValue(100, value, 0);
  EXPECT_EQ(recorder->Lines(), "ExtractValue R8:100, I4:9, I4:0");
  EXPECT_EQ(value, Variant(std::int16_t{1}));
  recorder->failures["ExtractValue"] = {E_FAIL, "not this one"};
  EXPECT_EQ(NumberAndText([&] { device->ExtractValue(100, value, 0); }),
            std::to_string(static_cast<int>(E_FAIL)) + ": not this one");
  EXPECT_EQ(value, Variant(std::int16_t{1}));
}

TEST_P(DriverImport, ADeviceHearsOfLoadedItems) {
  const auto device = NewDevice();
  device->ItemLoaded("WO100", 5, 1, 0);
  EXPECT_EQ(recorder->Lines(), "ItemLoaded Str:\"WO100\", R8:5, I4:1, I4:0");
  recorder->failures["ItemLoaded"] = {static_cast<HRESULT>(0x800A000A), "too long"};
  EXPECT_EQ(NumberAndText([&] { device->ItemLoaded("WO100", 5, 1, 0); }), "10: too long");
}

TEST_P(DriverImport, ADeviceOutlivesItsDriver) {
  const auto device = NewDevice();
  driver.reset();
  device->ItemLoaded("WO100", 5, 1, 0);
  EXPECT_EQ(recorder->Lines(), "ItemLoaded Str:\"WO100\", R8:5, I4:1, I4:0");
}

TEST_P(DriverImport, ADriverMayBeLetGoOfInsideItsOwnCall) {
  recorder->during["BoardStatus"] = [this] { driver.reset(); };
  recorder->answers["BoardStatus"] = I4(5);
  CommunicationDriver* const called = driver.get();
  EXPECT_EQ(called->BoardStatus(), 5);
}

// --- By name only

TEST(DispatchDriver, AnswersAreConverted) {
  const auto recorder = std::make_shared<Recorder>();
  const auto driver = com::ImportDriver(ComPtr<IUnknown>(new NameRecorder(recorder)));
  recorder->answers["BoardStatus"] = Str("12");
  EXPECT_EQ(driver->BoardStatus(), 12);
  recorder->answers["BoardStatus"] = R8(7);
  EXPECT_EQ(driver->BoardStatus(), 7);
  recorder->answers["BoardStatus"] = Value();
  EXPECT_EQ(driver->BoardStatus(), 0);
  recorder->answers["Description"] = I2(5);
  EXPECT_EQ(driver->Description(), "5");
  recorder->answers["GroupTransfer"] = I4(1);
  EXPECT_TRUE(driver->GroupTransfer());
  recorder->answers["BoardStatus"] = Str("twelve");
  EXPECT_EQ(NumberAndText([&] { driver->BoardStatus(); }), "13: Type mismatch: the answer of BoardStatus");
  recorder->answers["MinorVersion"] = I4(70000);
  EXPECT_EQ(NumberAndText([&] { driver->MinorVersion(); }), "6: Overflow: the answer of MinorVersion");
}

TEST(DispatchDriver, NamesAreLookedUpOnce) {
  const auto recorder = std::make_shared<Recorder>();
  auto* const named = new NameRecorder(recorder);
  const auto driver = com::ImportDriver(ComPtr<IUnknown>(named));
  for (int i = 0; i < 3; ++i)
    driver->PutBaudRate(driver->BaudRate());
  EXPECT_EQ(named->lookups, 1);
}

TEST(DispatchDriver, AMissingMemberIsNamed) {
  const auto recorder = std::make_shared<Recorder>();
  auto* const named = new NameRecorder(recorder);
  const auto driver = com::ImportDriver(ComPtr<IUnknown>(named));
  named->missing = {"BoardStatus", "ItemLoaded"};
  EXPECT_EQ(NumberAndText([&] { driver->BoardStatus(); }),
            "438: Object doesn't support this property or method: BoardStatus");
  named->missing.clear();
  EXPECT_EQ(driver->BoardStatus(), 0);
}

TEST(DispatchDriver, RefusedArgumentsAreReportedWithTheMember) {
  const auto recorder = std::make_shared<Recorder>();
  const auto driver = com::ImportDriver(ComPtr<IUnknown>(new NameRecorder(recorder)));
  recorder->failures["BaudRate="] = {DISP_E_TYPEMISMATCH, ""};
  EXPECT_EQ(NumberAndText([&] { driver->PutBaudRate(1); }), "13: Type mismatch: the arguments of BaudRate");
  recorder->failures["BaudRate="] = {DISP_E_BADPARAMCOUNT, ""};
  EXPECT_EQ(NumberAndText([&] { driver->PutBaudRate(1); }),
            "450: Wrong number of arguments or invalid property assignment: BaudRate");
}

TEST(DispatchDriver, ACodeOf16BitsIsTheNumber) {
  const auto recorder = std::make_shared<Recorder>();
  const auto driver = com::ImportDriver(ComPtr<IUnknown>(new NameRecorder(recorder)));
  recorder->failures["OpenCommunication"] = {S_OK, "the line is busy", 3};
  EXPECT_EQ(NumberAndText([&] { driver->OpenCommunication(true); }), "3: the line is busy");
}

TEST(DispatchDriver, ADeviceWithItsOwnInterfaceIsCalledBySlot) {
  const auto recorder = std::make_shared<Recorder>();
  const auto driver = com::ImportDriver(ComPtr<IUnknown>(new NameRecorder(recorder)));
  const ComPtr<IDispatch> own(new SlotDeviceRecorder(recorder));
  recorder->answers["CreateDevice"] = Object(own.Get());
  const auto device = driver->CreateDevice("PanelB");
  device->ItemLoaded("WO1", 1, 1, 0);
  EXPECT_EQ(recorder->Lines(), "CreateDevice Str:\"PanelB\"; ItemLoaded Str:\"WO1\", R8:1, I4:1, I4:0");
  recorder->answers.clear();
}

TEST(DispatchDriver, WhatIsNoDeviceIsRefused) {
  const auto recorder = std::make_shared<Recorder>();
  const auto driver = com::ImportDriver(ComPtr<IUnknown>(new NameRecorder(recorder)));
  for (const Value& none : {Value(), Null(), Object(nullptr), Unknown(nullptr)}) {
    recorder->answers["CreateDevice"] = none;
    EXPECT_EQ(driver->CreateDevice("PanelB"), nullptr) << Text(none);
  }
  recorder->answers["CreateDevice"] = I4(5);
  EXPECT_EQ(NumberAndText([&] { driver->CreateDevice("PanelB"); }),
            "13: Type mismatch: the answer of CreateDevice is no device object");
}

TEST(DispatchDevice, AcceptsItemsWhenItHasNoOpinion) {
  const auto recorder = std::make_shared<Recorder>();
  const auto driver = com::ImportDriver(ComPtr<IUnknown>(new NameRecorder(recorder)));
  auto* const named = new NameRecorder(recorder);
  const ComPtr<IDispatch> own(named);
  named->missing = {"ItemLoaded"};
  recorder->answers["CreateDevice"] = Object(own.Get());
  driver->CreateDevice("PanelB")->ItemLoaded("WO1", 1, 1, 0);
  EXPECT_EQ(recorder->Lines(), "CreateDevice Str:\"PanelB\"");
  recorder->answers.clear();
}

TEST(SlotDevice, AcceptsItemsWhenItHasNoOpinion) {
  const auto recorder = std::make_shared<Recorder>();
  const auto driver = com::ImportDriver(ComPtr<IUnknown>(new SlotRecorder(recorder)));
  recorder->answers["CreateDevice"] = I4(1);
  recorder->failures["ItemLoaded"] = {E_NOTIMPL, ""};
  driver->CreateDevice("PanelB")->ItemLoaded("WO1", 1, 1, 0);
}

TEST(ImportedDriver, ObjectsThatAreNoDriverAreRefused) {
  EXPECT_EQ(com::ImportDriver(nullptr), nullptr);
  ComPtr<ICreateErrorInfo> other;
  ASSERT_EQ(CreateErrorInfo(other.Put()), S_OK);
  EXPECT_EQ(NumberAndText([&] { com::ImportDriver(other.Query<IUnknown>()); }),
            "438: Object doesn't support this property or method: it offers neither the driver interface nor "
            "dispatch");
}

}  // namespace

}  // namespace orvo::testing
