// One synchronous read of a whole group, tried again while the spooler is busy with something else.
#pragma once

#include "Session.h"
#include "spooler/SpoolerEvents.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace orvo::client {

// What a read brought, by the position of the group's items.
struct ReadResult {
  SafeArray<std::int32_t> handles;
  SafeArray<Variant> values;  // client values
  SafeArray<std::int32_t> errors;
  SafeArray<Variant> delivered;  // as the driver delivered them; may be shorter

  // Empty when the driver delivered nothing for the position, or an error.
  Variant Delivered(std::size_t position) const;
  bool Succeeded() const;
};

class Reader {
 public:
  explicit Reader(Session& session);
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  ~Reader();

  // Reads all items of the group. A read that the spooler refuses because it is busy is tried again after a
  // pause with pumping, until `limit` is over; one that waits for its answer then is given up (error 1).
  // EndRequested when the client is to end.
  ReadResult Read(KELDataGroup& group, std::chrono::milliseconds limit);

 private:
  class Sink;

  Session& session_;
  const std::shared_ptr<Sink> sink_;
  std::int32_t cookie_;
};

}  // namespace orvo::client
