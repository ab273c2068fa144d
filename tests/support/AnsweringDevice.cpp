#include "support/AnsweringDevice.h"

#include <cstddef>
#include <memory>
#include <utility>

namespace orvo::testing {

void AnsweringDevice::AnswerLater(Plant& plant, std::function<void(IEventNotify&)> answer) {
  if (silent) return;
  plant.platform.Post([driver = std::weak_ptr<ScriptedDriver>(plant.driver), answer = std::move(answer)] {
    const std::shared_ptr<ScriptedDriver> held = driver.lock();
    if (!held || !held->HasSink()) return;
    try {
      answer(held->Sink());
    } catch (const AutomationError&) {
      // nobody waits for the answer any more
    }
  });
}

void AnsweringDevice::AnswerRead(IEventNotify& sink, const SafeArray<double>& addresses) const {
  SafeArray<Variant> read(addresses.Size());
  SafeArray<std::int32_t> readErrors(addresses.Size());
  for (std::size_t k = 0; k < addresses.Size(); ++k) {
    const double address = addresses.View()[k];
    const auto value = values.find(address);
    read.Edit()[k] = value != values.end() ? value->second : Word(static_cast<std::uint16_t>(address));
    const auto error = errors.find(address);
    if (error != errors.end()) readErrors.Edit()[k] = error->second;
  }
  sink.AsyncReadComplete(read, readErrors);
}

void AnsweringDevice::AnswerWrite(IEventNotify& sink, const SafeArray<double>& addresses,
                                  const SafeArray<Variant>& written) {
  SafeArray<std::int32_t> writeErrors(addresses.Size());
  for (std::size_t k = 0; k < addresses.Size(); ++k) {
    const double address = addresses.View()[k];
    const auto error = errors.find(address);
    if (error != errors.end()) writeErrors.Edit()[k] = error->second;
    if (error == errors.end() && k < written.Size()) values[address] = written.View()[k];
  }
  sink.AsyncWriteComplete(writeErrors);
}

void AnsweringDevice::Serve(Plant& plant) {
  ScriptedDriver* const driver = plant.driver.get();
  driver->during["ReadItems"] = [this, &plant, driver] {
    AnswerLater(plant,
                [this, addresses = driver->lastAddresses](IEventNotify& sink) { AnswerRead(sink, addresses); });
  };
  driver->during["WriteItems"] = [this, &plant, driver] {
    AnswerLater(plant, [this, addresses = driver->lastAddresses, written = driver->lastValues](
                           IEventNotify& sink) { AnswerWrite(sink, addresses, written); });
  };
  driver->during["ReadGroup"] = [this, &plant] {
    AnswerLater(plant, [this](IEventNotify& sink) {
      sink.AsyncReadGroupComplete(SafeArray<std::uint8_t>(image), groupError);
    });
  };
  driver->during["WriteGroup"] = [this, &plant, driver] {
    AnswerLater(plant, [this, written = driver->lastBuffer](IEventNotify& sink) {
      if (groupError == 0) image.assign(written.View().begin(), written.View().end());
      sink.AsyncWriteGroupComplete(groupError);
    });
  };
}

}  // namespace orvo::testing
