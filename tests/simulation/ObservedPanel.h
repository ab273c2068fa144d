// The simulated panel with an observer: every call that the server makes to read and write, and every answer
// that goes back.
#pragma once

#include "simulated/SimulatedPanel.h"

#include <cstdint>
#include <memory>

namespace orvo::testing {

class PanelObserver {
 public:
  PanelObserver() = default;
  PanelObserver(const PanelObserver&) = delete;
  PanelObserver& operator=(const PanelObserver&) = delete;
  virtual ~PanelObserver() = default;

  // Before the panel gets the call. Values are those of a write of items, `buffer` that of a group.
  virtual void ItemsCalled(PanelOperation operation, const SafeArray<double>& addresses,
                           const SafeArray<Variant>& values) = 0;
  virtual void GroupCalled(PanelOperation operation, std::int32_t groupId,
                           const SafeArray<std::uint8_t>& buffer) = 0;
  // What became of that call.
  virtual void CallTaken() = 0;
  virtual void CallRefused(std::int32_t number) = 0;
  virtual void GroupTransferAsked() = 0;
  virtual void GroupDefined(bool taken) = 0;

  // Before the server gets an answer. False when it must refuse it.
  virtual bool ReadAnswered(const SafeArray<Variant>& values, const SafeArray<std::int32_t>& errors) = 0;
  virtual bool ReadGroupAnswered(const SafeArray<std::uint8_t>& buffer, std::int32_t error) = 0;
  virtual bool WriteAnswered(const SafeArray<std::int32_t>& errors) = 0;
  virtual bool WriteGroupAnswered(std::int32_t error) = 0;
  // Whether it did.
  virtual void AnswerTaken(bool expected, bool taken) = 0;
};

class ObservedPanel final : public SimulatedPanel {
 public:
  // `observer` outlives the panel.
  ObservedPanel(DriverHost host, const PanelOptions& options, PanelObserver& observer)
      : SimulatedPanel({}, host, options), observer_(observer) {}

  void SetEventSink(std::shared_ptr<IEventNotify> Sink) override;
  void WriteItems(const SafeArray<double>& CompiledAddresses, const SafeArray<std::int16_t>& Dimensions,
                  const SafeArray<Variant>& DATAValues) override;
  void ReadItems(const SafeArray<double>& CompiledAddresses,
                 const SafeArray<std::int16_t>& Dimensions) override;
  void WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  void ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  void SetGroupDefinition(std::int32_t GroupId, std::int32_t Define) override;
  bool GroupTransfer() override;

 private:
  template <class Call>
  void Observed(Call&& call);

  PanelObserver& observer_;
};

}  // namespace orvo::testing
