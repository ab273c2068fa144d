// The communication driver for Modbus devices, TCP and RTU: "Modbus.Channel". docs/modbus.md describes it for
// users.
//
// A connection text (Settings.h) is the kind of device. What it states stands; the rest is decided by the
// properties of the driver. While communication is open a thread of the driver's (Worker.h) keeps the line and
// carries out requests; everything here happens on the owner's thread.
//
// Reads and writes are taken or refused at once. Refused (thrown): 2 while communication is closed or without
// an event sink, 1 while a request is outstanding, 10 for arrays of different lengths. A request that was taken
// is answered exactly once, from the message loop and never inside the call: when the line is done with it,
// which takes at most some time-outs; when communication is closed, by the next pass, with error 5 for each
// item, even if everybody has let go of the driver meanwhile; not at all only when the driver ends without
// having been closed. What the line still brings then is dropped. A failure of the sink's handler is dropped.
//
// Whole groups are not transferred: the system reads and writes item by item.
#pragma once

#include "modbus/LinkState.h"
#include "modbus/Settings.h"
#include "modbus/Worker.h"
#include "spooler/DriverRegistry.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::modbus {

class ModbusDriver final : public CommunicationDriver, public std::enable_shared_from_this<ModbusDriver> {
  struct Passkey {};

 public:
  static constexpr const char* ProgId = "Modbus.Channel";

  // What CommunicationStatus answers.
  enum Status : std::int32_t {
    Closed = 0,
    Answering = 1,   // connected, and the last request was answered
    Connecting = 2,  // not connected; the driver tries again and again
    Unanswered = 3,  // connected, but the last request was not answered properly
  };

  // Makes the line of `settings`, in which a time-out stands, for RTU also device and baud rate.
  using LineFactory = std::function<std::unique_ptr<Line>(const Settings& settings)>;

  // Over libmodbus, or over the lines that `factory` makes.
  static std::shared_ptr<ModbusDriver> Make(DriverHost host, LineFactory factory = {});
  ModbusDriver(Passkey key, DriverHost host, LineFactory factory);
  // Waits for the end of its thread: no time on TCP, up to a time-out on RTU.
  ~ModbusDriver() override;

  // A null sink is taken: reads and writes are refused then, an answer goes nowhere.
  void SetEventSink(std::shared_ptr<IEventNotify> Sink) override;
  void WriteItems(const SafeArray<double>& CompiledAddresses, const SafeArray<std::int16_t>& Dimensions,
                  const SafeArray<Variant>& DATAValues) override;
  void ReadItems(const SafeArray<double>& CompiledAddresses,
                 const SafeArray<std::int16_t>& Dimensions) override;
  // Refused with 2.
  void WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  void ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  // Waits until the first attempt to connect is over and the device was asked what it is, at most some
  // time-outs. A device that cannot be reached is no failure: the driver goes on trying. Opening what is open
  // changes nothing. Errors: 10 for `false`, 2 without a device or a serial port, 5 when the system has no
  // thread or descriptor left. A communication that was closed just before on RTU may take a time-out more.
  void OpenCommunication(bool Open) override;
  // Returns at once. Closing what is closed changes nothing.
  void CloseCommunication() override;
  float BootVersion() override;     // 0
  std::string BootDate() override;  // empty
  // The first decimal number in the revision with which the device identifies itself; 0 without one.
  float FirmwareVersion() override;
  // Vendor and product with which the device identifies itself; empty without. While communication is open and
  // there is no connection: "no connection: " and the reason.
  std::string BoardDescription() override;
  // The code of the exception with which the device answered the last request; 0 when it was none, -1 when it
  // is none that the protocol defines.
  std::int32_t BoardStatus() override;
  std::int32_t CommunicationStatus() override;  // Status
  // Refused with 99.
  void DownloadFirmware(const std::string& FileName, std::int32_t Flag) override;
  void DownloadProject(const std::string& FileName, std::int32_t Flag) override;
  // The rate of a serial line; at first 9600. A put is refused with 2 while communication is open, with 10
  // unless it is one of the customary rates from 300 to 115200, and when the connection states another one (but
  // see SetConfigurationMode).
  std::int32_t BaudRate() override;
  void PutBaudRate(std::int32_t NewValue) override;
  void Reserved18() override;
  // True. A connection is about to be chosen, unless communication is open: until CreateDevice succeeds or
  // OpenCommunication is called, ComPortNumber and BaudRate take every value of their range, whatever the
  // present connection states, and read so. CreateDevice takes them over where its text states nothing;
  // OpenCommunication, where the connection that was there before states nothing.
  bool SetConfigurationMode() override;
  // Nothing is held on the device. Error 10 for a Define other than -1 and 0.
  void SetGroupDefinition(std::int32_t GroupId, std::int32_t Define) override;
  // The highest number that the system's 16 bits hold: no device limits it.
  std::int32_t GroupCapacity() override;
  // Which connections CreateDevice takes: 0 any (at first), 1 TCP, 2 RTU. Error 2 while communication is open,
  // 10 for another number, and when the device that is there is connected otherwise.
  void PutNetworkType(std::int32_t NewValue) override;
  void Reserved23() override;
  std::int16_t MinorVersion() override;
  std::int16_t MajorVersion() override;
  std::string Description() override;
  // n: the serial port /dev/ttyS(n - 1), where the connection is RTU without a device; 0 (at first): none.
  // Error 2 while communication is open, 10 outside 0..255. Where the connection is TCP or states the device it
  // is 0, and everything else is refused with 10 (but see SetConfigurationMode).
  void PutComPortNumber(std::int32_t NewValue) override;
  std::int32_t ComPortNumber() override;
  void Reserved29() override;
  // At first empty; any text. It has no effect.
  std::string ProjectName() override;
  void PutProjectName(const std::string& NewValue) override;
  bool GroupTransfer() override;                                                      // false
  bool CheckVariable(std::int32_t TotalWordLength, std::int32_t ItemCount) override;  // true
  // The order of 32-bit items as number of LongOrder; at first 0 (abcd). Error 2 while communication is open,
  // 10 outside 0..3, and when the connection states another one.
  void PutWordIO(std::int16_t NewValue) override;
  std::int16_t WordIO() override;
  // Milliseconds that an answer may take; at first 1000. Error 2 while communication is open, 10 below 1, and
  // when the connection states another one.
  void PutTimeout(std::int16_t NewValue) override;
  std::int16_t Timeout() override;
  bool FirmwareDownloadNeeded() override;  // false
  bool ProjectDownloadNeeded() override;   // false
  // `DeviceKind` is a connection text; null when it is empty or just several words ("a small panel"): the name
  // of a kind that is none of this driver's. Errors: 10 with the reason for everything else that is no
  // connection, or of a kind that NetworkType excludes; 2 while communication is open. After a failure, and
  // after null, nothing has changed.
  std::shared_ptr<DeviceObject> CreateDevice(const std::string& DeviceKind) override;

 private:
  struct Request {
    WorkerJob::Kind kind;
    std::size_t items;
    std::uint64_t number;
  };

  void RequireClosed(std::string_view what) const;
  // `stated`: the connection's own value.
  template <class Number>
  void RequireAsStated(std::string_view what, std::optional<Number> stated, Number value) const;
  // Whether the connection leaves no choice of the port.
  bool StatesPort() const;
  void EndChoosing();
  void RequireReadyForRequest() const;
  void Take(WorkerJob::Kind kind, std::vector<ItemRequest> items);
  // The end of request `number`, if it is still outstanding.
  void Answer(std::uint64_t number, ItemResults results);
  // The connection with what the properties add.
  Settings WholeSettings() const;

  ThreadPlatform& platform_;
  const LineFactory factory_;

  std::shared_ptr<IEventNotify> sink_;
  std::string connection_;            // as CreateDevice got it
  std::optional<Settings> settings_;  // nothing: there is no device
  std::int32_t networkType_ = 0;
  std::int32_t comPortNumber_ = 0;
  std::int32_t baudRate_ = 9600;
  std::int16_t timeout_ = 1000;
  std::int16_t wordIO_ = 0;
  std::string projectName_;
  // Put since SetConfigurationMode, for the connection that is about to be chosen.
  struct Choice {
    std::optional<std::int32_t> comPortNumber;
    std::optional<std::int32_t> baudRate;
  };
  bool choosing_ = false;
  Choice choice_;

  std::optional<Request> request_;
  std::uint64_t lastNumber_ = 0;
  std::unique_ptr<LinkState> state_;  // of the communication that is open or was last
  std::unique_ptr<Worker> worker_;    // while communication is open
  std::unique_ptr<Worker> ending_;    // the one before, stopped
};

}  // namespace orvo::modbus
