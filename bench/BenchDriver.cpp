#include "BenchDriver.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace orvo::bench {

namespace {

class BenchDevice final : public DeviceObject {
 public:
  bool CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                     std::int32_t& ItemType) override {
    std::uint32_t number = 0;
    if (ItemId.size() < 7 || std::from_chars(ItemId.data() + 2, ItemId.data() + 7, number).ec != std::errc{})
      return false;
    for (std::size_t kind = 0; kind < KindCount; ++kind) {
      const ItemKind& row = KindOfItem(kind);
      if (ItemId.compare(0, 2, row.code) != 0) continue;
      CompiledAddress = static_cast<double>(number) + 1;
      WordLength = row.words;
      ItemType = row.type;
      return true;
    }
    return false;
  }
  // Every item of the plant is alone in its words.
  void ExtractValue(double, Variant&, std::int32_t) override {}
};

Image ImageOf(std::size_t group, std::size_t perGroup, std::size_t count, unsigned phase, bool changing,
              ByteOrder order) {
  return MakeImage(group * perGroup, count, changing ? static_cast<int>(phase) : 0, order);
}

}  // namespace

void BenchDriver::Prepare(std::size_t items, std::size_t perGroup, bool wholeGroups, bool changing) {
  perGroup_ = perGroup;
  wholeGroups_ = wholeGroups;
  groups_.clear();
  for (std::size_t first = 0; first < items; first += perGroup) {
    const std::size_t group = first / perGroup;
    const std::size_t count = std::min(perGroup, items - first);
    GroupAnswers answers;
    answers.errors = SafeArray<std::int32_t>(count);
    for (unsigned phase = 0; phase < 2; ++phase) {
      if (wholeGroups) {
        Image image = ImageOf(group, perGroup, count, phase, changing, ByteOrder::MostFirst);
        answers.buffer[phase] = SafeArray<std::uint8_t>(std::move(image.bytes));
        continue;
      }
      const Image image = ImageOf(group, perGroup, count, phase, changing, ByteOrder::LeastFirst);
      std::vector<Variant> values;
      values.reserve(count);
      for (std::size_t k = 0; k < count; ++k) {
        const auto length = static_cast<std::size_t>(2 * KindOfItem(first + k).words);
        values.push_back(Variant::OfBytes(std::span(image.bytes).subspan(image.offsets[k], length)));
      }
      answers.values[phase] = SafeArray<Variant>(std::move(values));
    }
    groups_.push_back(std::move(answers));
  }
}

void BenchDriver::Answer(std::function<void()> completion) {
  if (delay_.count() <= 0) {
    platform_.Post(std::move(completion));
    return;
  }
  timer_ = platform_.SetTimer(delay_, [this, completion = std::move(completion)](std::int32_t timer) {
    const auto call = completion;
    platform_.KillTimer(timer);
    call();
  });
}

void BenchDriver::ReadItems(const SafeArray<double>& CompiledAddresses, const SafeArray<std::int16_t>&) {
  ++reads_;
  const auto first = static_cast<std::size_t>(CompiledAddresses.At(0)) - 1;
  const GroupAnswers& group = groups_[first / perGroup_];
  SafeArray<Variant> values = group.values[phase_];
  SafeArray<std::int32_t> errors = group.errors;
  if (CompiledAddresses.Size() < values.Size()) {
    values = SafeArray<Variant>{values.View()[first % perGroup_]};
    values.Resize(CompiledAddresses.Size());
    errors = SafeArray<std::int32_t>(CompiledAddresses.Size());
  }
  if (ownAnswers_)
    for (Variant& value : values.Edit())
      value = value.Unshared();
  Answer([sink = sink_, values, errors] { sink->AsyncReadComplete(values, errors); });
}

void BenchDriver::WriteItems(const SafeArray<double>& CompiledAddresses, const SafeArray<std::int16_t>&,
                             const SafeArray<Variant>&) {
  Answer([sink = sink_, count = CompiledAddresses.Size()] {
    sink->AsyncWriteComplete(SafeArray<std::int32_t>(count));
  });
}

void BenchDriver::ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>&) {
  ++reads_;
  Answer([sink = sink_, buffer = groups_[static_cast<std::size_t>(GroupId) - 1].buffer[phase_]] {
    sink->AsyncReadGroupComplete(buffer, 0);
  });
}

void BenchDriver::WriteGroup(std::int32_t, const SafeArray<std::uint8_t>&) {
  Answer([sink = sink_] { sink->AsyncWriteGroupComplete(0); });
}

std::shared_ptr<DeviceObject> BenchDriver::CreateDevice(const std::string&) {
  return std::make_shared<BenchDevice>();
}

}  // namespace orvo::bench
