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
  void Forget() noexcept { hasNoMask_ = coilsOnlyOne_ = registersOnlyOne_ = false; }

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
  // By the request for several, or that for one where the device knows no other.
  Answer SendOne(Area area, std::int32_t address, std::uint16_t value);
  Answer SendByOne(Area area, std::int32_t address, std::uint16_t value);
  Answer SendBySeveral(Area area, std::int32_t address, std::uint16_t value);
  Answer SendPart(std::int32_t address, std::uint16_t mask, std::uint16_t value);
  Answer WriteBack(std::int32_t address, std::uint16_t value);
  // What was learned holds for one connection.
  void LookAtConnection() noexcept;
  bool& KnowsOnlyOne(Area area) noexcept { return HoldsBits(area) ? coilsOnlyOne_ : registersOnlyOne_; }
  void Conclude(const WriteRun& run, const Answer& answer);
  void Fail(const WriteRun& run, ItemError error);

  Line& line_;
  const ByteOrder order_;
  const BitWriting bits_;

  // What was learned of the device, on the connection of this number.
  std::uint64_t knownOn_ = 0;
  bool hasNoMask_ = false;         // it does not know the mask request
  bool coilsOnlyOne_ = false;      // it knows only the request for one coil
  bool registersOnlyOne_ = false;  // or register

  // The list that is under way: what is written, in its order, so that a run's registers lie side by side.
  std::vector<Image> images_;
  std::vector<PlannedWrite> writes_;  // of images_
  std::vector<std::uint16_t> registers_;
  std::vector<std::uint8_t> coils_;
  std::vector<std::int32_t> errors_;
  bool ended_ = false;
};

}  // namespace orvo::modbus
