// A plant in which one chosen event comes, with a handler that runs one action inside it.
#pragma once

#include "support/AnsweringDevice.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace orvo::testing {

// What a client holds when an event reaches it. Each member may be let go.
struct Scene {
  AnsweringDevice device;
  std::unique_ptr<Plant> plant = std::make_unique<Plant>();
  std::shared_ptr<KELDataGroup> group;  // "G": three words, active, subscribed
  std::shared_ptr<KELDataItem> item;    // its first
  std::shared_ptr<GroupEventLog> groupSink;
  std::shared_ptr<ServerEventLog> serverSink;
  std::int32_t groupCookie = 0;
  std::int32_t serverCookie = 0;

  // Configured with a saved configuration "plant.cfg" at hand, communication closed.
  Scene();
  KELDataServer& Server() const { return *plant->server; }
  KELDataGroups& Groups() const { return *plant->server->KELDataGroups(); }
  KELDataItems& Items() const { return *group->KELDataItems(); }
};

// An event and how to make it come.
struct EventRow {
  const char* name;
  bool whileOpening;  // comes inside OpenCommunication, at status 2; otherwise from the loop, at status 3
  std::function<void(Scene&)> provoke;
};
const std::vector<EventRow>& Events();
// What the test's name shows.
inline void PrintTo(const EventRow& row, std::ostream* out) {
  *out << row.name;
}

// Something that a client may do, and the number of the error that it gets (0: none) in a handler that runs
// while communication is open, and in one that runs while it is being opened.
struct ActionRow {
  const char* name;
  std::function<void(Scene&)> run;
  std::int32_t whenRunning;
  std::int32_t whenOpening;
};
const std::vector<ActionRow>& Actions();

}  // namespace orvo::testing
