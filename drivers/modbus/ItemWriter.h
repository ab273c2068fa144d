// Writes lists of items over a line: the half of Exchange that writes.
#pragma once

#include "modbus/ItemExchange.h"
#include "modbus/Line.h"
#include "modbus/WritePlan.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orvo::modbus {

class ItemWriter {
 public:
  ItemWriter(Line& line, const ByteOrder& order, BitWriting bits);

  ItemResults Write(std::span<const ItemRequest> items);
  void Forget() noexcept { hasNoMask_ = false; }

 private:
  struct Image {
    std::size_t item;    // its position in the list
    std::size_t offset;  // of its first register or coil in registers_ or coils_
    std::uint16_t mask;
  };

  void Take(std::span<const ItemRequest> items);
  bool TakeOne(const ItemRequest& item, std::size_t position);
  void WriteRunOf(const WriteRun& run);
  Answer Send(const WriteRun& run);
  Answer SendPart(std::int32_t address, std::uint16_t mask, std::uint16_t value);
  void Conclude(const WriteRun& run, const Answer& answer);
  void Fail(const WriteRun& run, ItemError error);

  Line& line_;
  const ByteOrder order_;
  const BitWriting bits_;
  bool hasNoMask_ = false;  // the device does not know the mask request

  // The list that is under way: what is written, in its order, so that a run's registers lie side by side.
  std::vector<Image> images_;
  std::vector<PlannedWrite> writes_;  // of images_
  std::vector<std::uint16_t> registers_;
  std::vector<std::uint8_t> coils_;
  std::vector<std::int32_t> errors_;
  bool ended_ = false;
};

}  // namespace orvo::modbus
