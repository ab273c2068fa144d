// A client's sink at one group: hands each event on to the oracle, then lets the client act inside it.
#pragma once

#include "model/KELDataGroupEvents.h"
#include "simulation/PlantOracle.h"

#include <functional>
#include <utility>

namespace orvo::testing {

class ClientSink final : public KELDataGroupEvents {
 public:
  // `group` without a reference: it holds the sink.
  ClientSink(PlantOracle& oracle, std::weak_ptr<MirrorGroup> group, std::function<void()> act)
      : oracle_(oracle), group_(std::move(group)), act_(std::move(act)) {}

  void DataChange(const SafeArray<std::int32_t>& DataHandles, const SafeArray<Variant>& USERValues) override {
    Told({GroupEvent::DataChange, group_.lock(), 0, DataHandles, USERValues, {}});
  }
  void AsyncReadComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                         const SafeArray<Variant>& USERValues,
                         const SafeArray<std::int32_t>& DataErrors) override {
    Told({GroupEvent::ReadComplete, group_.lock(), TransactionId, DataHandles, USERValues, DataErrors});
  }
  void AsyncReadAllComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                            const SafeArray<Variant>& USERValues,
                            const SafeArray<std::int32_t>& DataErrors) override {
    Told({GroupEvent::ReadAllComplete, group_.lock(), TransactionId, DataHandles, USERValues, DataErrors});
  }
  void AsyncWriteAllComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                             const SafeArray<std::int32_t>& DataErrors) override {
    Told({GroupEvent::WriteAllComplete, group_.lock(), TransactionId, DataHandles, {}, DataErrors});
  }
  void AsyncWriteComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                          const SafeArray<std::int32_t>& DataErrors) override {
    Told({GroupEvent::WriteComplete, group_.lock(), TransactionId, DataHandles, {}, DataErrors});
  }
  void AsyncCancelComplete(std::int32_t TransactionId, bool Success) override {
    Told({GroupEvent::CancelComplete, group_.lock(), TransactionId, {}, {}, {Success ? 1 : 0}});
  }

 private:
  void Told(const ToldEvent& event) {
    oracle_.EventTold(event);
    act_();
  }

  PlantOracle& oracle_;
  const std::weak_ptr<MirrorGroup> group_;
  const std::function<void()> act_;
};

}  // namespace orvo::testing
