// Requests of the driver, their answers, and its end.
#include "errors/AutomationError.h"
#include "kit/ThreadCount.h"
#include "unit/modbus/FailureText.h"
#include "unit/modbus/ModbusDriverFixture.h"
#include "values/AutomationObject.h"

#include <stdexcept>

namespace orvo::modbus {

class ModbusDriverTest : public ModbusDriverFixture {};

TEST_F(ModbusDriverTest, AnswersReadsAndWritesFromTheMessageLoop) {
  Open();
  Read({"WO40006", "WO40011"});
  EXPECT_EQ(sink->lines, Lines{});
  EXPECT_EQ(Answers(1), Lines{"read 5,10 [0,0]"});
  Write("WO40006", std::int16_t{77});
  EXPECT_EQ(Answers(2).back(), "write [0]");
  Read({"WO40006"});
  EXPECT_EQ(Answers(3).back(), "read 77 [0]");
}

TEST_F(ModbusDriverTest, AnswersARequestOfNoItems) {
  Open();
  Read({});
  EXPECT_EQ(Answers(1), Lines{"read []"});
  driver->WriteItems({}, {}, {});
  EXPECT_EQ(Answers(2).back(), "write []");
}

TEST_F(ModbusDriverTest, GivesEachItemItsOwnError) {
  Open();
  driver->ReadItems({Addresses({"WO40001"}).At(0), -1.0, Addresses({"BI00001"}).At(0)}, {1, 1, 1});
  EXPECT_EQ(Answers(1), Lines{"read 0,-,- [0,10,10]"});
}

TEST_F(ModbusDriverTest, RefusesARequestThatDoesNotFitTheState) {
  device = driver->CreateDevice("tcp://127.0.0.1");
  EXPECT_EQ(FailureText([&] { Read({"WO40001"}); }), "2:Communication is closed");
  driver->OpenCommunication(true);
  EXPECT_EQ(FailureText([&] { driver->ReadItems({1.0, 2.0}, {1}); }), "10:2 addresses come with 1 dimensions");
  EXPECT_EQ(FailureText([&] { driver->WriteItems({1.0}, {1}, {}); }), "10:1 addresses come with 0 values");
  EXPECT_EQ(FailureText([&] { driver->ReadGroup(0, {}); }), "2:A Modbus device transfers no whole groups");
  EXPECT_EQ(FailureText([&] { driver->WriteGroup(0, {}); }), "2:A Modbus device transfers no whole groups");
  driver->SetEventSink(nullptr);
  EXPECT_EQ(FailureText([&] { Read({"WO40001"}); }), "2:There is no event sink to answer to");
  driver->SetEventSink(sink);

  gate->Hold();
  Read({"WO40001"});
  EXPECT_EQ(FailureText([&] { Read({"WO40001"}); }), "1:The previous request is not answered yet");
  gate->LetGo();
  EXPECT_EQ(Answers(1), Lines{"read 0 [0]"});
  driver->CloseCommunication();
  EXPECT_EQ(FailureText([&] { Read({"WO40001"}); }), "2:Communication is closed");
}

TEST_F(ModbusDriverTest, ClosingAnswersTheOutstandingRequestByTheNextPassAndOnlyOnce) {
  for (const bool deaf : {false, true}) {
    gate->deaf = deaf;
    sink->lines.clear();
    MakeDriver();
    Open();
    gate->Hold();
    Read({"WO40001", "WO40100"});
    driver->CloseCommunication();
    EXPECT_EQ(sink->lines, Lines{});
    platform.PumpOnce();
    EXPECT_EQ(sink->lines, Lines{"read -,- [5,5]"});
    gate->LetGo();
    driver.reset();  // by now the line has told what became of the request
    platform.PumpOnce();
    EXPECT_EQ(sink->lines.size(), 1U);
  }
}

TEST_F(ModbusDriverTest, ClosingTakesAnAnswerBackThatIsOnItsWay) {
  Open();
  Read({"WO40001"});
  platform.WaitForWork(std::chrono::seconds(30));  // it is posted, and not delivered
  driver->CloseCommunication();
  platform.PumpOnce();
  platform.PumpOnce();
  EXPECT_EQ(sink->lines, Lines{"read - [5]"});
}

TEST_F(ModbusDriverTest, ClosingAnswersThoughTheDriverIsReleased) {
  Open();
  gate->Hold();
  Write("WO40001", std::int16_t{1});
  driver->CloseCommunication();
  const std::weak_ptr<ModbusDriver> released = driver;
  driver.reset();
  platform.PumpOnce();
  EXPECT_EQ(sink->lines, Lines{"write [5]"});
  EXPECT_TRUE(released.expired());
  gate->AwaitEnd();
}

TEST_F(ModbusDriverTest, AfterReopeningALateResultIsNotTakenForTheNewRequest) {
  gate->deaf = true;
  Open();
  gate->Hold();
  Read({"WO40001"});
  gate->AwaitCalls(1);
  driver->CloseCommunication();
  gate->LetGo();
  driver->OpenCommunication(true);  // waits for the former thread, so its result is posted
  EXPECT_EQ(FailureText([&] { Read({"WO40008"}); }), "1:The previous request is not answered yet");
  platform.PumpOnce();
  EXPECT_EQ(sink->lines, Lines{"read - [5]"});
  Read({"WO40008"});
  EXPECT_EQ(Answers(2), (Lines{"read - [5]", "read 7 [0]"}));
  EXPECT_EQ(gate->MostLines(), 1);
}

TEST_F(ModbusDriverTest, AReleasedDriverTakesItsThreadAndDescriptorsWithIt) {
  driver.reset();
  const std::size_t threads = kit::ThreadCount().value();
  const std::size_t descriptors = Entries("/proc/self/fd");
  for (const bool closed : {false, true}) {
    MakeDriver();
    Open();
    gate->Hold();
    Read({"WO40001"});
    gate->AwaitCalls(1);
    EXPECT_EQ(kit::ThreadCount(), threads + 1);
    if (closed) driver->CloseCommunication();
    platform.PumpOnce();
    driver.reset();
    gate->AwaitEnd();
    EXPECT_EQ(Entries("/proc/self/fd"), descriptors);
    // A thread that was joined may show for a moment longer.
    EXPECT_TRUE(platform.RunUntil([&] { return kit::ThreadCount() == threads; }, std::chrono::seconds(30)));
  }
  platform.PumpOnce();
  EXPECT_EQ(sink->lines, Lines{"read - [5]"});
}

TEST_F(ModbusDriverTest, TheSinkMaySendTheNextRequestInsideAnAnswer) {
  Open();
  int left = 5;
  sink->onAnswer = [&] {
    if (--left > 0) Read({"WO4000" + std::to_string(left)});
  };
  Read({"WO40009"});
  EXPECT_EQ(Answers(5), (Lines{"read 8 [0]", "read 3 [0]", "read 2 [0]", "read 1 [0]", "read 0 [0]"}));
}

TEST_F(ModbusDriverTest, TheSinkMayCloseOpenAndReleaseInsideAnAnswer) {
  Open();
  sink->onAnswer = [&] {
    driver->CloseCommunication();
    driver->CloseCommunication();
    driver->OpenCommunication(true);
    Read({"WO40004"});
    driver->CloseCommunication();
    sink->onAnswer = [&] {
      sink->onAnswer = {};
      driver->SetEventSink(nullptr);
      driver.reset();
    };
  };
  Read({"WO40003"});
  EXPECT_EQ(Answers(2), (Lines{"read 2 [0]", "read - [5]"}));
  EXPECT_FALSE(driver);
  gate->AwaitEnd();
}

TEST_F(ModbusDriverTest, AFailureOfTheSinkIsDropped) {
  Open();
  sink->onAnswer = [] { throw AutomationError(91, "gone"); };
  Read({"WO40003"});
  Answers(1);
  sink->onAnswer = [] { throw std::runtime_error("worse"); };
  Read({"WO40004"});
  EXPECT_EQ(Answers(2), (Lines{"read 2 [0]", "read 3 [0]"}));
}

TEST_F(ModbusDriverTest, TellsWhyThereIsNoConnectionWhileItIsOpen) {
  gate->reachable = false;
  Open();
  EXPECT_EQ(driver->CommunicationStatus(), ModbusDriver::Connecting);
  EXPECT_EQ(driver->BoardDescription(), "no connection: nobody there");
  driver->CloseCommunication();
  EXPECT_EQ(driver->BoardDescription(), "");

  driver = ModbusDriver::Make({platform, files});
  driver->CreateDevice("rtu:/dev/no-such-port?timeout=50");
  driver->OpenCommunication(true);
  EXPECT_EQ(driver->BoardDescription(), "no connection: /dev/no-such-port: No such file or directory");
}

TEST_F(ModbusDriverTest, TellsWhatTheDeviceIsAsSoonAsItIsOpen) {
  EXPECT_EQ(driver->CommunicationStatus(), ModbusDriver::Closed);
  EXPECT_EQ(driver->BoardDescription(), "");
  EXPECT_EQ(driver->FirmwareVersion(), 0.0F);
  Open();
  EXPECT_EQ(driver->CommunicationStatus(), ModbusDriver::Answering);
  EXPECT_EQ(driver->BoardDescription(), "Acme P7");
  EXPECT_EQ(driver->FirmwareVersion(), 2.11F);
  driver->CloseCommunication();
  EXPECT_EQ(driver->CommunicationStatus(), ModbusDriver::Closed);
  struct Row {
    Identification identification;
    std::string description;
    float version;
  };
  for (const Row& row : {Row{{"", "P7", "7"}, "P7", 7}, Row{{"Acme", "", "rev. 3.5.1"}, "Acme", 3.5F},
                         Row{{"", "", "none"}, "", 0}, Row{{"", "", ""}, "", 0}}) {
    gate->identification = row.identification;
    driver->OpenCommunication(true);
    EXPECT_EQ(driver->BoardDescription(), row.description);
    EXPECT_EQ(driver->FirmwareVersion(), row.version) << row.identification.revision;
    driver->CloseCommunication();
  }
}

TEST_F(ModbusDriverTest, ADeviceThatCannotBeReachedIsNoFailureOfOpening) {
  gate->reachable = false;
  Open();
  EXPECT_EQ(driver->CommunicationStatus(), ModbusDriver::Connecting);
  Read({"WO40001", "WO40002"});
  EXPECT_EQ(Answers(1), Lines{"read -,- [5,5]"});
}

TEST_F(ModbusDriverTest, BoardStatusIsTheExceptionOfTheLastAnswer) {
  Open();
  EXPECT_EQ(driver->BoardStatus(), 0);
  Read({"BI00001"});
  EXPECT_EQ(Answers(1), Lines{"read - [10]"});
  EXPECT_EQ(driver->BoardStatus(), 1);
  Read({"WO40001"});
  Answers(2);
  EXPECT_EQ(driver->BoardStatus(), 0);
}

TEST_F(ModbusDriverTest, AMistakeInsideTheThreadIsAnsweredAndLeavesItAlive) {
  Open();
  gate->throws = true;
  Read({"WO40001", "WO40002"});
  EXPECT_EQ(Answers(1), Lines{"read -,- [4,4]"});
  gate->throws = false;
  Read({"WO40002"});
  EXPECT_EQ(Answers(2).back(), "read - [5]");  // the pause after it
  driver->CloseCommunication();
  driver->OpenCommunication(true);
  Read({"WO40002"});
  EXPECT_EQ(Answers(3).back(), "read 1 [0]");
}

// Knows on which thread it ended.
class ThreadBoundObject final : public AutomationObject {
 public:
  explicit ThreadBoundObject(std::thread::id& ended) : ended_(ended) {}
  ~ThreadBoundObject() override { ended_ = std::this_thread::get_id(); }

 private:
  std::thread::id& ended_;
};

TEST_F(ModbusDriverTest, AnObjectAmongTheValuesStaysOnItsOwnThread) {
  std::thread::id ended;
  Open();
  gate->Hold();
  Write("WO40001", Variant(std::make_shared<ThreadBoundObject>(ended)));
  EXPECT_EQ(ended, std::this_thread::get_id());
  gate->LetGo();
  EXPECT_EQ(Answers(1), Lines{"write [10]"});
  SafeArray<Variant> objects(1);
  objects.Put(0, Variant(std::make_shared<ThreadBoundObject>(ended)));
  ended = {};
  Write("WO40001", Variant(std::move(objects)));
  EXPECT_EQ(ended, std::this_thread::get_id());
  EXPECT_EQ(Answers(2).back(), "write [10]");
}

}  // namespace orvo::modbus
