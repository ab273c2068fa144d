// A panel in a box: a communication driver whose device is simulated inside the process.
//
// The device is a memory (PanelMemory.h) with typed addresses (PanelAddress.h), values that move by themselves
// (PanelSignal.h) and faults (PanelFaults.h). A script (PanelScript.h) describes all of it; a test or a
// demonstration can also use the control face below. Time comes from the platform alone: in virtual time every
// run is the same. Everything happens on the owner's thread.
//
// Reads and writes are taken or refused at once. Refused (thrown): 2 while communication is closed or without
// an event sink, 1 while a request is outstanding, 10 for arrays of different lengths, a group that is not
// defined, or a group buffer that does not fit the memory. A request that was taken is answered exactly once,
// from the message loop and never inside the call: after the completion delay; when communication is closed, by
// the next pass, with error 5 for each item, even if everybody has let go of the driver meanwhile; not at
// all only when the driver ends within the delay and was not closed before. Memory is read and changed
// at the answer, signals first. A failure of the sink's handler is dropped and counted. Faults break these
// rules on purpose: a second or late answer goes to the sink that is set when it comes, and to nobody when the
// panel has ended by then.
//
// Item errors: 5 link cut or closed, 10 address, dimension or value that the item does not take, or a scripted
// one; the value of an item with an error is Empty, and a write with an error changes nothing.
#pragma once

#include "platform/ThreadPlatform.h"
#include "simulated/PanelErrors.h"
#include "simulated/PanelFaults.h"
#include "simulated/PanelImage.h"
#include "simulated/PanelMemory.h"
#include "simulated/PanelOptions.h"
#include "simulated/PanelScript.h"
#include "spooler/DriverRegistry.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orvo {

class SimulatedPanel : public CommunicationDriver, public std::enable_shared_from_this<SimulatedPanel> {
  struct Passkey {};

 public:
  static constexpr const char* ProgId = "SimulatedPanel.Channel";
  static constexpr std::size_t DownloadBlockSize = 1024;
  // What BoardStatus and CommunicationStatus answer.
  enum BoardState : std::int32_t { BoardReady = 0, BoardInConfigurationMode = 1 };
  enum LinkState : std::int32_t { LinkClosed = 0, LinkOpen = 1, LinkCut = 2 };

  // Error 10 for a signal or a script that is not valid.
  static std::shared_ptr<SimulatedPanel> Make(DriverHost host, PanelOptions options = {});
  SimulatedPanel(Passkey key, DriverHost host, PanelOptions options);
  ~SimulatedPanel() override;

  // --- The control face: what stands beside the line. None of it counts as a call of an operation.

  // Options may be changed at any time, and applying a script takes the changes back; a change of signals has
  // no effect.
  PanelOptions& Options() noexcept { return options_; }
  PanelFaults& Faults() noexcept { return *faults_; }
  // The memory as it stands after the last answer (signals move at answers only).
  PanelMemory& Memory() noexcept { return memory_; }

  // Applies a script in place of the one before; `name` stands in the text of its mistakes (error 10; then
  // nothing changes). The panel begins anew: memory zero but for what the script puts there, options as the
  // panel was made with and as the script sets them, the script's faults and link cuts, all its counters and
  // its clock at 0. Stays: whether communication is open, definitions, requests on their way, what the control
  // face scripted, and a property's put value (project name included) that the script does not set; what only
  // the script before set does not. Images that were downloaded are gone.
  void LoadScript(std::string_view name, std::string_view text);

  // Reads and writes of exactly this item (not of others that share its bytes) answer `error`; 0 takes it back.
  // Error 10 for an identifier that is not valid.
  void PutItemFault(const std::string& identifier, std::int32_t error);
  // While the link is cut, reads and writes are taken and answered with error 5; so is a request during which
  // it was cut. Nothing else is affected.
  void CutLink(bool cut) noexcept;
  // SetConfigurationMode answers false from now on, and changes nothing.
  void RefuseConfigurationMode(bool refuse);
  // The next download that has a block `block` (counted from 1) breaks off there with error 4.
  void FailDownloadAtBlock(std::size_t block);
  // The next download that has a block `block` (counted from 1) has a byte of it changed on the line.
  void CorruptDownloadBlock(std::size_t block);
  // The next download that gets that far has a byte changed in the panel, after all its blocks were taken.
  void CorruptDownloadedImage();
  // What the DownloadNeeded questions answer; nothing: as they find it.
  void PutFirmwareDownloadNeeded(std::optional<bool> needed) noexcept {
    options_.firmwareDownloadNeeded = needed;
  }
  void PutProjectDownloadNeeded(std::optional<bool> needed) noexcept {
    options_.projectDownloadNeeded = needed;
  }

  const PanelImage& HeldFirmware() const noexcept { return options_.heldFirmware; }
  const PanelImage& HeldProject() const noexcept { return options_.heldProject; }
  bool IsOutstanding() const noexcept { return request_.has_value(); }
  // Definitions that are held for one group, and for all.
  int Definitions(std::int32_t groupId) const;
  int Definitions() const;
  std::int32_t NetworkType() const noexcept { return options_.networkType; }
  int FailedCallbacks() const noexcept { return failedCallbacks_; }

  // --- The driver contract.

  // A null sink is taken: reads and writes are refused then, answers and download reports go nowhere.
  void SetEventSink(std::shared_ptr<IEventNotify> Sink) override;
  // A read brings an item's words as bytes, of a number the least significant byte first, whatever the order in
  // the memory. A write takes numbers for number items, byte arrays for the others (PanelItem.h).
  void WriteItems(const SafeArray<double>& CompiledAddresses, const SafeArray<std::int16_t>& Dimensions,
                  const SafeArray<Variant>& DATAValues) override;
  void ReadItems(const SafeArray<double>& CompiledAddresses,
                 const SafeArray<std::int16_t>& Dimensions) override;
  // A group's image is the memory from (GroupId mod 128) * 256 on, for the length of the buffer, byte by byte
  // as it lies: numbers most significant byte first. In a group's image each item has a place of its own; a bit
  // or byte takes a whole word there, the number of which is its value. On error 5 the buffer comes back as it
  // was passed.
  void WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  void ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  // Ends configuration mode. Opening what is open changes nothing. Error 10 for `false`, 2 inside a download.
  void OpenCommunication(bool Open) override;
  // Closing what is closed changes nothing. Group definitions stay.
  void CloseCommunication() override;
  float BootVersion() override;
  std::string BootDate() override;
  float FirmwareVersion() override;
  std::string BoardDescription() override;
  std::int32_t BoardStatus() override;
  std::int32_t CommunicationStatus() override;
  // Takes the file in blocks of 1024 bytes and reports after each the percentage of blocks taken, then
  // completion. Each block comes with its CRC-32 and is refused when it does not fit; the whole image is
  // checked against the CRC-32 of the file after the last block, and so after the report of 100. The image is
  // held from before the completion report on. On a failure the image held before stays; no completion is
  // reported. Errors: 2 while communication is open or another download runs, 10 for an empty file, 4 when it
  // breaks off or a check fails (for a block the text names it), and those of Files::ReadWhole. The flag has no
  // meaning.
  void DownloadFirmware(const std::string& FileName, std::int32_t Flag) override;
  void DownloadProject(const std::string& FileName, std::int32_t Flag) override;
  // At first 9600. Error 2 while communication is open, 10 unless it is one of 300, 600, 1200, 2400, 4800,
  // 9600, 19200, 38400, 57600, 115200.
  std::int32_t BaudRate() override;
  void PutBaudRate(std::int32_t NewValue) override;
  void Reserved18() override;
  bool SetConfigurationMode() override;
  // Several groups may have one GroupId: definitions are counted, and the newest one of the GroupId is
  // released. When all GroupCapacity places are taken, a new definition takes the place of the oldest one: a
  // server forgets definitions without releasing them when it removes all its groups, and as it keeps no more
  // than the capacity, the oldest is one that it forgot. Error 10 for defining when the capacity is below 1,
  // for releasing when none of this GroupId is held, and for a Define other than -1 and 0.
  void SetGroupDefinition(std::int32_t GroupId, std::int32_t Define) override;
  std::int32_t GroupCapacity() override;
  void PutNetworkType(std::int32_t NewValue) override;
  void Reserved23() override;
  std::int16_t MinorVersion() override;
  std::int16_t MajorVersion() override;
  std::string Description() override;
  // At first 1. Error 2 while communication is open, 10 outside 1..255.
  void PutComPortNumber(std::int32_t NewValue) override;
  std::int32_t ComPortNumber() override;
  void Reserved29() override;
  // At first empty; any text.
  std::string ProjectName() override;
  void PutProjectName(const std::string& NewValue) override;
  bool GroupTransfer() override;
  bool CheckVariable(std::int32_t TotalWordLength, std::int32_t ItemCount) override;
  // Kept only, any value; at first 0.
  void PutWordIO(std::int16_t NewValue) override;
  std::int16_t WordIO() override;
  // Milliseconds; kept only, at first 1000. Error 10 below 0.
  void PutTimeout(std::int16_t NewValue) override;
  std::int16_t Timeout() override;
  // True when the project name is not empty and the panel holds no firmware (project) of the name that the
  // project name is cut down to (PanelImageName). The name of the held image alone decides, not its checksum: a
  // changed file of the same name is not noticed.
  bool FirmwareDownloadNeeded() override;
  bool ProjectDownloadNeeded() override;
  // "Kind?file" applies the script in the file first (LoadScript): error 10 when it cannot be read or is wrong;
  // an unknown kind leaves the panel as it is. What then happens to the call is up to the new faults.
  std::shared_ptr<DeviceObject> CreateDevice(const std::string& DeviceKind) override;

 private:
  using Completion = std::function<void(IEventNotify&)>;

  struct Request {
    PanelOperation operation;
    std::uint64_t number;
    SafeArray<double> addresses;
    SafeArray<std::int16_t> dimensions;
    SafeArray<Variant> values;
    std::int32_t groupId;
    SafeArray<std::uint8_t> buffer;
    bool lost;            // the link was cut or closed meanwhile
    bool posted = false;  // its answer is on the way through the message loop
    std::int64_t takenMs = 0;
    std::int64_t lateMs = 0;  // when a late answer comes
    PanelAnswerPlan plan;
  };

  void RequireReadyForRequest() const;
  void RequireGroup(std::int32_t groupId, std::size_t bytes) const;
  void Take(Request request);
  void PostAnswer();
  void Answer(std::uint64_t number);
  Completion ItemsAnswer(const Request& request);
  Completion GroupAnswer(const Request& request);
  void SendLate(Completion completion, std::int64_t inMs);
  void TellLate(std::int32_t timerId);
  void StopTimer();
  // Milliseconds since the panel was made, and since its script was applied.
  std::int64_t Elapsed();
  std::int64_t ScriptTime() { return Elapsed() - scriptStartMs_; }
  bool IsCut() { return cut_ || IsLinkCutWithin(script_.cuts, ScriptTime(), ScriptTime()); }

  void Apply(PanelScript script);
  // Everything that the panel loses with its power.
  void Restart();
  void PutMemory();
  // One fault of the control face in place of the one before with the same target and action.
  void Replace(PanelFault fault, bool present);
  // The same for the next download that gets to the block (0: none), or to its end (nothing).
  void PutNextDownload(PanelFaultAction action, std::optional<std::size_t> block);

  void Download(PanelOperation operation, const std::string& fileName, PanelImage& held,
                void (IEventNotify::*progress)(std::int16_t), void (IEventNotify::*complete)());
  bool DownloadNeeded(const PanelImage& held, std::optional<bool> fixed) const;
  // A property's new value, beyond the script that is applied now.
  template <class Value>
  void Put(Value PanelOptions::*property, const Value& value) {
    base_.*property = options_.*property = value;
  }
  // Calls the sink, if there is one.
  void Tell(const Completion& call);
  void RequireClosed(std::string_view what) const;

  ThreadPlatform& platform_;
  Files& files_;
  PanelOptions base_;  // what it was made with and what was put since; the base of every script

  PanelOptions options_;
  PanelScript script_;
  PanelSignals signals_;
  const std::shared_ptr<PanelFaults> faults_;  // device objects hold it too
  PanelMemory memory_;
  bool cut_ = false;

  std::shared_ptr<IEventNotify> sink_;
  bool open_ = false;
  bool configurationMode_ = false;
  bool downloading_ = false;
  std::optional<Request> request_;
  std::uint64_t lastNumber_ = 0;
  std::int32_t timer_ = 0;                          // 0: none runs
  std::map<std::int32_t, Completion> lateAnswers_;  // by their timers
  int failedCallbacks_ = 0;
  std::uint32_t lastTick_;
  std::int64_t elapsedMs_ = 0;  // up to lastTick_
  std::int64_t scriptStartMs_ = 0;

  std::deque<std::int32_t> definitions_;  // their GroupIds, the oldest first
};

// Registers a factory under SimulatedPanel::ProgId that makes a panel of its own each time, with a copy of
// `options`, and tells `made` of it: the way to reach a panel that a server made. Error 10 for a signal or a
// script that is not valid.
void RegisterSimulatedPanel(DriverRegistry& registry, PanelOptions options = {},
                            std::function<void(std::shared_ptr<SimulatedPanel>)> made = {});

}  // namespace orvo
