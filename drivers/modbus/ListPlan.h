// A list of items, and the requests that read it.
#pragma once

#include "modbus/Address.h"
#include "modbus/ItemExchange.h"
#include "modbus/ReadPlan.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace orvo::modbus {

class ListPlan {
 public:
  struct Target {
    std::size_t item;  // its position in the list
    Address address;
  };

  // Nothing is planned yet.
  explicit ListPlan(std::span<const ItemRequest> items);

  bool IsOf(std::span<const ItemRequest> items) const noexcept;
  // Plans unless it is planned for what is known now. After a failure the next call plans again.
  void Update(std::int32_t gap, const Obstacles& obstacles);
  bool IsCurrent(const Obstacles& obstacles) const noexcept { return version_ == obstacles.Version(); }

  std::size_t ItemCount() const noexcept { return keys_.size(); }
  const std::vector<Target>& Targets() const noexcept { return targets_; }  // the items that have a place
  const std::vector<Span>& Places() const noexcept { return places_; }      // of the targets
  const std::vector<ReadBlock>& Blocks() const noexcept { return blocks_; }
  // Of the answers of the blocks, among the registers or the bits. What lies before MostRegistersRead or
  // MostBitsRead belongs to none.
  const std::vector<std::size_t>& Offsets() const noexcept { return offsets_; }
  // Of the targets, when their blocks come whole, likewise.
  const std::vector<std::size_t>& Sources() const noexcept { return sources_; }
  std::size_t RegisterCount() const noexcept { return registers_; }
  std::size_t BitCount() const noexcept { return bits_; }

 private:
  struct Key {
    double compiledAddress;
    std::int32_t dimension;
  };
  static constexpr std::uint64_t NoVersion = std::numeric_limits<std::uint64_t>::max();

  std::vector<Key> keys_;
  std::vector<Target> targets_;
  std::vector<Span> places_;

  std::uint64_t version_ = NoVersion;  // of the obstacles, for which the rest is planned
  std::vector<ReadBlock> blocks_;
  std::vector<std::size_t> offsets_;
  std::vector<std::size_t> sources_;
  std::size_t registers_ = 0;
  std::size_t bits_ = 0;
};

}  // namespace orvo::modbus
