// The Modbus driver, driven through its contract in real time: what a test asks of it and what came back, as
// texts.
//
// An outcome is "error N", or the delivered bytes in hexadecimal ("F319"). Every wait has a limit, which only
// ends a test that has gone wrong: reaching it throws std::runtime_error. One thread.
#pragma once

#include "kit/RecordingSink.h"
#include "platform/portable/DiskFiles.h"
#include "platform/portable/PortablePlatform.h"
#include "spooler/CommunicationDriver.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvo::modbus_test {

using Outcomes = std::vector<std::string>;

class DriverScene {
 public:
  static constexpr std::chrono::seconds Limit{30};

  // A driver with this connection and a sink, not opened.
  explicit DriverScene(const std::string& connection);
  DriverScene(const DriverScene&) = delete;
  DriverScene& operator=(const DriverScene&) = delete;
  ~DriverScene();

  CommunicationDriver& Driver() { return *driver_; }
  void Open() { driver_->OpenCommunication(true); }
  void Close();
  // Lets go of the driver.
  void Release() { driver_.reset(); }

  // Asks and returns at once; the answer is waited for by Await, which wants exactly one and takes it.
  void AskRead(const std::vector<std::string>& items);
  void AskWrite(const std::vector<std::pair<std::string, Variant>>& items);
  Outcomes Await();
  Outcomes Read(const std::vector<std::string>& items);
  // "error N" for each item, "error 0" when it was written.
  Outcomes Write(const std::vector<std::pair<std::string, Variant>>& items);
  // Reads again and again until no item has error 5 (no connection) or one of `others`. The last outcomes.
  Outcomes ReadWhenConnected(const std::vector<std::string>& items, const Outcomes& others = {});

  // The item's own number out of an outcome of a bit, byte, or word.
  std::int32_t Extract(const std::string& item, const std::string& outcome);

  // Pumps until it holds.
  void Until(const std::function<bool()>& condition, const std::string& what);
  void UntilStatus(std::int32_t status);
  std::size_t Requests() const { return requests_; }                              // that the driver took so far
  std::size_t Answers() const { return answersBefore_ + sink_->answers.size(); }  // to all of them
  PortablePlatform& Platform() { return platform_; }

 private:
  struct Compiled {
    double address = 0;
    std::int32_t words = 0;
    std::int32_t type = 0;
  };
  Compiled Compile(const std::string& item);
  void ForgetAnswers();
  Outcomes TakeAnswer();

  PortablePlatform platform_;
  DiskFiles files_;
  std::shared_ptr<kit::RecordingSink> sink_ = std::make_shared<kit::RecordingSink>();
  std::shared_ptr<CommunicationDriver> driver_;
  std::shared_ptr<DeviceObject> device_;
  std::size_t requests_ = 0;
  std::size_t answersBefore_ = 0;  // to the latest request; what came since is in the sink
  std::int32_t timer_ = 0;
};

// What an outcome is when the registers hold this: `travelling` bytes as the device sends them.
std::string Hex(const std::vector<std::uint8_t>& bytes);
Variant Bytes(const std::vector<std::uint8_t>& bytes);

}  // namespace orvo::modbus_test
