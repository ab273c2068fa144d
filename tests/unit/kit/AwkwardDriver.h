// A driver in memory that keeps the contract but for one slip: what the scripts of the simulated panel cannot
// do wrong.
//
// Identifiers are R0..R9, WO0..WO9 and DW0..DW9, all of them words. Answers are posted.
#pragma once

#include "spooler/DriverRegistry.h"
#include "support/ScriptedDriver.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace orvo::testing {

enum class Slip {
  None,
  KnowsEveryKind,
  TakesEveryIdentifier,
  RefusesWithoutText,
  CompilesAnew,
  CompilesNonsense,
  ExtractsText,
  RefusesLoadedItems,
  ThrowsForeignException,
  TakesWhileClosed,
  AnswersInsideTheCall,
  AnswersOnAThread,
  CountsFromOne,
  AnswersNumbers,
  AnswersHalfTheBytes,
  AnswersAWrite,
  ValueBesideAnError,
  ForgetsWrites,
  ForgetsTimeout,
  KeepsRefusedBaudRate,
  AnswersAnotherVersion,
  FitsByLuck,
  NegativeCapacity,
  FreesTheLineLate,
  ForgetsTheFirstRequest,
  AnswersInReverse,
  RepeatsAfterAFailure,
  LetsExceptionsOut,
  StopsAfterAFailure,
  HangsOnWrongLengths,
  FailsToOpenAgain,
  FailsWhenOpen,
  FailsWhenClosed,
  TiresOfReading,
  KeepsTheFormerSink,
  CallsAWithdrawnSink,
  ClosesInSilence,
  AnswersInsideClose,
  StaysBusyAfterClose,
  ForgetsWhenReleased,
  AnswersAfterItsEnd,
  KeepsItself,
  LeavesATimer,
  LeavesAThread,
  KeepsTheSink,
  ProgressFalls,
  ReportsTwice,
  ReportsLater,
  DownloadsNothing,
  ReportsNoProgress,
  ProgressEndsEarly,
  TakesWritesWhileClosed,
  ClosesReadsWithoutErrors,
  ClosesWritesWithoutErrors,
  ClosesWritesInSilence,
  // The following transfer whole groups, the first without a slip.
  TransfersGroups,
  TakesGroupReadsWhileClosed,
  TakesGroupWritesWhileClosed,
  ClosesGroupReadsWithoutErrors,
  ClosesGroupWritesWithoutErrors,
};

// What a slip keeps alive, so that a test can let go of it.
struct Leftovers {
  std::vector<std::shared_ptr<void>> objects;
  std::mutex mutex;
  std::condition_variable stop;
  bool stopped = false;
  std::vector<std::thread> threads;

  ~Leftovers();
};

class AwkwardDriver final : public ScriptedDriver, public std::enable_shared_from_this<AwkwardDriver> {
 public:
  AwkwardDriver(DriverHost host, Slip slip, Leftovers& leftovers);
  ~AwkwardDriver() override;

  void SetEventSink(std::shared_ptr<IEventNotify> Sink) override;
  void WriteItems(const SafeArray<double>& CompiledAddresses, const SafeArray<std::int16_t>& Dimensions,
                  const SafeArray<Variant>& DATAValues) override;
  void ReadItems(const SafeArray<double>& CompiledAddresses,
                 const SafeArray<std::int16_t>& Dimensions) override;
  void WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  void ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  void OpenCommunication(bool Open) override;
  void CloseCommunication() override;
  void DownloadFirmware(const std::string& FileName, std::int32_t Flag) override;
  void PutBaudRate(std::int32_t NewValue) override;
  void PutTimeout(std::int16_t NewValue) override;
  std::int16_t MinorVersion() override;
  std::int32_t GroupCapacity() override;
  bool GroupTransfer() override;
  bool CheckVariable(std::int32_t TotalWordLength, std::int32_t ItemCount) override;
  std::shared_ptr<DeviceObject> CreateDevice(const std::string& DeviceKind) override;

 private:
  using Answer = std::function<void(IEventNotify& sink)>;

  bool Is(Slip slip) const noexcept { return slip_ == slip; }
  void Take(const Answer& answer);
  void Deliver(const Answer& answer, const std::shared_ptr<IEventNotify>& sink);
  void AnswerOnAThread(const Answer& answer);
  void AnswerRead(IEventNotify& sink, const SafeArray<double>& addresses);

  const DriverHost host_;
  const Slip slip_;
  Leftovers& leftovers_;
  std::shared_ptr<IEventNotify> target_;
  std::map<double, std::int16_t> memory_;
  std::vector<Answer> waiting_;
  std::int32_t timer_ = 0;
  bool open_ = false;
  bool opened_ = false;  // once
  int reads_ = 0;
  bool stuck_ = false;
};

}  // namespace orvo::testing
