#include "modbus/ItemWriter.h"

#include "errors/AutomationError.h"
#include "modbus/AnswerError.h"
#include "modbus/ItemValue.h"

#include <utility>

namespace orvo::modbus {

ItemWriter::ItemWriter(Line& line, const ByteOrder& order, BitWriting bits)
    : line_(line), order_(order), bits_(bits) {}

ItemResults ItemWriter::Write(std::span<const ItemRequest> items) {
  Take(items);
  ended_ = false;
  for (const WriteRun& run : PlanWrites(writes_))
    WriteRunOf(run);
  return {{}, std::move(errors_)};
}

// Every value is looked at before anything is sent: what an item does not take fails whatever becomes of the
// line.
void ItemWriter::Take(std::span<const ItemRequest> items) {
  images_.clear();
  writes_.clear();
  registers_.clear();
  coils_.clear();
  errors_.assign(items.size(), NoError);
  for (std::size_t k = 0; k < items.size(); ++k)
    if (!TakeOne(items[k], k)) errors_[k] = BadValue;
}

bool ItemWriter::TakeOne(const ItemRequest& item, std::size_t position) {
  const auto address = Address::Decode(item.compiledAddress);
  if (!address || IsReadOnly(address->area)) return false;
  const auto place = address->Place(item.dimension);
  if (!place) return false;
  try {
    if (HoldsBits(address->area)) {
      coils_.push_back(BitOfValue(item.value) ? 1 : 0);
      images_.push_back({position, coils_.size() - 1, 1});
      writes_.push_back({*place, false});
      return true;
    }
    const RegisterImage image = ImageOfValue(*address, order_, item.dimension, item.value);
    images_.push_back({position, registers_.size(), image.mask});
    writes_.push_back({*place, image.mask != 0xFFFF});
    registers_.insert(registers_.end(), image.registers.begin(), image.registers.end());
  } catch (const AutomationError&) {
    return false;
  }
  return true;
}

void ItemWriter::WriteRunOf(const WriteRun& run) {
  if (ended_) {
    Fail(run, LinkDown);
    return;
  }
  LookAtConnection();
  if (run.count == 1) {
    Conclude(run, Send(run));
    return;
  }
  if (!KnowsOnlyOne(run.span.area)) {
    const Answer answer = Send(run);
    // Behind every other exception (4: it failed on the way) part of it may have been done.
    if (!TookNothing(answer) && !IsUnknown(answer)) {
      Conclude(run, answer);
      return;
    }
  }
  // The device took nothing of it. Which item is to blame shows when each goes by itself.
  for (std::size_t k = run.first; k < run.first + run.count; ++k)
    WriteRunOf({writes_[k].place, k, 1});
}

Answer ItemWriter::Send(const WriteRun& run) {
  const Image& image = images_[run.first];
  const auto count = static_cast<std::size_t>(run.span.count);
  const bool isBit = HoldsBits(run.span.area);
  if (writes_[run.first].isPart) return SendPart(run.span.start, image.mask, registers_[image.offset]);
  if (count == 1)
    return SendOne(run.span.area, run.span.start, isBit ? coils_[image.offset] : registers_[image.offset]);
  if (isBit) return line_.WriteCoils(run.span.start, std::span(coils_).subspan(image.offset, count));
  return line_.WriteRegisters(run.span.start, std::span(registers_).subspan(image.offset, count));
}

Answer ItemWriter::SendOne(Area area, std::int32_t address, std::uint16_t value) {
  bool byOne = KnowsOnlyOne(area);
  for (bool isFirst = true;; isFirst = false) {
    Answer answer = byOne ? SendByOne(area, address, value) : SendBySeveral(area, address, value);
    LookAtConnection();
    if (!IsUnknown(answer)) {
      KnowsOnlyOne(area) = byOne;
      return answer;
    }
    // Not even this is to be relied on: a device may refuse either while it is in another state.
    KnowsOnlyOne(area) = false;
    if (!isFirst) return answer;
    byOne = !byOne;
  }
}

Answer ItemWriter::SendByOne(Area area, std::int32_t address, std::uint16_t value) {
  return HoldsBits(area) ? line_.WriteCoil(address, value != 0) : line_.WriteRegister(address, value);
}

Answer ItemWriter::SendBySeveral(Area area, std::int32_t address, std::uint16_t value) {
  const auto bit = static_cast<std::uint8_t>(value);
  return HoldsBits(area) ? line_.WriteCoils(address, std::span(&bit, 1))
                         : line_.WriteRegisters(address, std::span(&value, 1));
}

Answer ItemWriter::SendPart(std::int32_t address, std::uint16_t mask, std::uint16_t value) {
  const auto set = static_cast<std::uint16_t>(value & mask);
  const auto keep = static_cast<std::uint16_t>(~mask);
  for (bool isFirst = true;; isFirst = false) {
    if (!hasNoMask_) {
      Answer answer = line_.MaskRegister(address, keep, set);
      LookAtConnection();
      if (!IsUnknown(answer) || bits_ == BitWriting::Mask) return answer;
      hasNoMask_ = true;
    }
    std::uint16_t whole = 0;
    Answer answer = line_.ReadRegisters(Area::HoldingRegisters, address, std::span(&whole, 1));
    answer.mayHaveArrived = false;  // it was to change nothing
    if (!answer.IsDone()) return answer;
    LookAtConnection();
    if (hasNoMask_) return WriteBack(address, static_cast<std::uint16_t>((whole & keep) | set));
    // It was read on a new connection, of which nothing is known. One that ends with each answer is no ground
    // for this.
    if (!isFirst) return {Answer::Kind::Broken, 0, "the connection ended between reading and writing back"};
  }
}

// On the connection on which it was read, or not at all: behind the next one another device may answer.
Answer ItemWriter::WriteBack(std::int32_t address, std::uint16_t value) {
  class Staying {
   public:
    explicit Staying(Line& line) : line_(line) { line_.PutReconnecting(false); }
    Staying(const Staying&) = delete;
    Staying& operator=(const Staying&) = delete;
    ~Staying() { line_.PutReconnecting(true); }

   private:
    Line& line_;
  };
  const Staying staying(line_);
  return SendOne(Area::HoldingRegisters, address, value);
}

void ItemWriter::LookAtConnection() noexcept {
  if (std::exchange(knownOn_, line_.Connections()) != line_.Connections()) Forget();
}

void ItemWriter::Conclude(const WriteRun& run, const Answer& answer) {
  if (!answer.IsDone()) Fail(run, ErrorOfWrite(answer));
  ended_ = EndsTheList(answer);
}

void ItemWriter::Fail(const WriteRun& run, ItemError error) {
  for (std::size_t k = run.first; k < run.first + run.count; ++k)
    errors_[images_[k].item] = error;
}

}  // namespace orvo::modbus
