// The sinks that a client has connected to one object, and the raising of an event to all of them.
#pragma once

#include "errors/AutomationError.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace orvo {

// `Sink` is an abstract class with one function per event. Sinks are held strongly until they are withdrawn: a
// sink that holds the source in turn must be withdrawn by its owner.
template <class Sink>
class EventSource {
 public:
  EventSource() = default;
  EventSource(const EventSource&) = delete;
  EventSource& operator=(const EventSource&) = delete;
  ~EventSource() { UnadviseAll(); }  // a sink's end may call back in: the list is whole then

  // Connects `sink` and returns its cookie (positive, never used again). Error 91 for no sink.
  std::int32_t Advise(std::shared_ptr<Sink> sink) {
    if (!sink) RaiseRuntimeError(RuntimeError::ObjectNotSet);
    sinks_.push_back({++lastCookie_, std::move(sink)});
    return lastCookie_;
  }
  // Withdraws the sink. Returns false when the cookie is not connected.
  bool Unadvise(std::int32_t cookie) noexcept {
    const auto found = Find(cookie);
    if (found == sinks_.end()) return false;
    // It ends last: that may call back in, and the list is whole by then.
    const std::shared_ptr<Sink> last = std::move(found->sink);
    sinks_.erase(found);
    return true;
  }
  void UnadviseAll() noexcept { const std::vector<Connection> last = std::exchange(sinks_, {}); }
  bool IsEmpty() const noexcept { return sinks_.empty(); }

  // Calls visit(cookie, sink) for each connected sink, in the order of their connection. `visit` must not
  // connect or withdraw any.
  template <class Visitor>
  void Visit(Visitor&& visit) const {
    for (const Connection& connection : sinks_)
      visit(connection.cookie, connection.sink);
  }

  // Calls `event(sink)` for each sink that was connected when the event was raised and still is when its turn
  // comes. A sink that fails does not stop the others. The caller keeps this object alive meanwhile.
  template <class Event>
  void Raise(Event&& event) {
    if (sinks_.empty()) return;
    const std::vector<Connection> snapshot = sinks_;
    for (const Connection& connection : snapshot) {
      if (Find(connection.cookie) == sinks_.end()) continue;
      try {
        event(*connection.sink);
      } catch (...) {
        // A client's failure in its own handler is the client's.
      }
    }
  }

 private:
  struct Connection {
    std::int32_t cookie;
    std::shared_ptr<Sink> sink;
  };
  auto Find(std::int32_t cookie) noexcept {
    return std::find_if(sinks_.begin(), sinks_.end(),
                        [cookie](const Connection& connection) { return connection.cookie == cookie; });
  }

  std::vector<Connection> sinks_;
  std::int32_t lastCookie_ = 0;
};

}  // namespace orvo
