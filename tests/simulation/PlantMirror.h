// What groups and items of a simulated plant must be like, kept beside the real ones.
#pragma once

#include "model/KELDataGroup.h"
#include "simulation/PlantCell.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orvo::testing {

class ClientSink;

struct MirrorItem {
  PlantCell cell;
  std::string name;
  std::int32_t handle = 0;
  std::int32_t offset = 0;  // in the whole group's image
  bool isSigned = false;
  bool removed = false;

  // What the item shows to its clients: the latest value, and when it came (0: never).
  Reading held;
  double stamp = 0;
  // What the next refresh of the whole group is compared with: nothing, bytes, or something that always
  // differs.
  enum class Compared : std::uint8_t { Nothing, Bytes, Different };
  Compared compared = Compared::Nothing;
  std::string lying;
  bool written = false;  // reported once whatever comes
};
using ItemPointer = std::shared_ptr<MirrorItem>;

struct MirrorGroup {
  std::shared_ptr<KELDataGroup> core;  // null once it was removed
  std::string name;
  std::int32_t handle = 0;
  std::int32_t groupId = 0;
  std::int32_t bufferBytes = 0;
  bool active = false;
  bool subscribed = false;
  std::int32_t rate = 0;
  std::int32_t timer = -1;
  bool pending = false;  // a refresh is outstanding
  std::vector<ItemPointer> items;

  // What the latest refresh brought, by position.
  struct Previous {
    ItemPointer item;
    bool empty = true;
    std::string lying;
  };
  std::vector<Previous> previous;

  struct Connection {
    std::shared_ptr<ClientSink> sink;
    std::int32_t cookie;
  };
  std::vector<Connection> sinks;
};
using GroupPointer = std::shared_ptr<MirrorGroup>;

}  // namespace orvo::testing
