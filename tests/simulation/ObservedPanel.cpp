#include "simulation/ObservedPanel.h"

#include "errors/AutomationError.h"

#include <utility>

namespace orvo::testing {

namespace {

class ObservedSink final : public IEventNotify {
 public:
  ObservedSink(PanelObserver& observer, std::shared_ptr<IEventNotify> sink)
      : observer_(observer), sink_(std::move(sink)) {}

  void AsyncReadComplete(const SafeArray<Variant>& DATAValues,
                         const SafeArray<std::int32_t>& ItemErrors) override {
    Pass(observer_.ReadAnswered(DATAValues, ItemErrors),
         [&] { sink_->AsyncReadComplete(DATAValues, ItemErrors); });
  }
  void AsyncReadGroupComplete(const SafeArray<std::uint8_t>& Buffer, std::int32_t Error) override {
    Pass(observer_.ReadGroupAnswered(Buffer, Error), [&] { sink_->AsyncReadGroupComplete(Buffer, Error); });
  }
  void AsyncWriteComplete(const SafeArray<std::int32_t>& ItemErrors) override {
    Pass(observer_.WriteAnswered(ItemErrors), [&] { sink_->AsyncWriteComplete(ItemErrors); });
  }
  void AsyncWriteGroupComplete(std::int32_t Error) override {
    Pass(observer_.WriteGroupAnswered(Error), [&] { sink_->AsyncWriteGroupComplete(Error); });
  }
  void DownloadFirmwareComplete() override { sink_->DownloadFirmwareComplete(); }
  void DownloadFirmwareInProgress(std::int16_t Percent) override { sink_->DownloadFirmwareInProgress(Percent); }
  void DownloadProjectComplete() override { sink_->DownloadProjectComplete(); }
  void DownloadProjectInProgress(std::int16_t Percent) override { sink_->DownloadProjectInProgress(Percent); }

 private:
  template <class Call>
  void Pass(bool expected, Call&& call) {
    try {
      call();
    } catch (const AutomationError&) {
      observer_.AnswerTaken(expected, false);
      throw;
    }
    observer_.AnswerTaken(expected, true);
  }

  PanelObserver& observer_;
  const std::shared_ptr<IEventNotify> sink_;
};

}  // namespace

void ObservedPanel::SetEventSink(std::shared_ptr<IEventNotify> Sink) {
  SimulatedPanel::SetEventSink(Sink ? std::make_shared<ObservedSink>(observer_, Sink) : nullptr);
}

template <class Call>
void ObservedPanel::Observed(Call&& call) {
  try {
    call();
  } catch (const AutomationError& failure) {
    observer_.CallRefused(failure.Number());
    throw;
  }
  observer_.CallTaken();
}

void ObservedPanel::WriteItems(const SafeArray<double>& CompiledAddresses,
                               const SafeArray<std::int16_t>& Dimensions,
                               const SafeArray<Variant>& DATAValues) {
  observer_.ItemsCalled(PanelOperation::WriteItems, CompiledAddresses, DATAValues);
  Observed([&] { SimulatedPanel::WriteItems(CompiledAddresses, Dimensions, DATAValues); });
}

void ObservedPanel::ReadItems(const SafeArray<double>& CompiledAddresses,
                              const SafeArray<std::int16_t>& Dimensions) {
  observer_.ItemsCalled(PanelOperation::ReadItems, CompiledAddresses, {});
  Observed([&] { SimulatedPanel::ReadItems(CompiledAddresses, Dimensions); });
}

void ObservedPanel::WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  observer_.GroupCalled(PanelOperation::WriteGroup, GroupId, Buffer);
  Observed([&] { SimulatedPanel::WriteGroup(GroupId, Buffer); });
}

void ObservedPanel::ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  observer_.GroupCalled(PanelOperation::ReadGroup, GroupId, Buffer);
  Observed([&] { SimulatedPanel::ReadGroup(GroupId, Buffer); });
}

void ObservedPanel::SetGroupDefinition(std::int32_t GroupId, std::int32_t Define) {
  try {
    SimulatedPanel::SetGroupDefinition(GroupId, Define);
  } catch (const AutomationError&) {
    observer_.GroupDefined(false);
    throw;
  }
  observer_.GroupDefined(true);
}

bool ObservedPanel::GroupTransfer() {
  observer_.GroupTransferAsked();
  return SimulatedPanel::GroupTransfer();
}

}  // namespace orvo::testing
