// What one group costs in each cycle of its refresh.
#pragma once

#include "LineTime.h"
#include "modbus/Area.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orvo::modbus_plan {

struct Item {
  std::string id;
  std::string name;  // empty: it has none that a user gave it
  modbus::Span place;
  bool isRefused = false;  // by the device: it is asked for alone

  std::string Text() const { return name.empty() ? id : id + " (" + name + ")"; }
};

struct Group {
  std::string name;
  bool active = true;
  std::int32_t updateRate = 0;  // ms
  std::vector<Item> items;
};

// An item that begins a request, the first of the group excepted.
struct ExtraRequest {
  std::string item;
  std::string reason;
};

struct GroupPlan {
  std::string name;
  bool active = true;
  std::int32_t updateRate = 0;
  std::size_t items = 0;
  std::size_t requests = 0;
  std::int64_t requestBytes = 0;
  std::int64_t answerBytes = 0;
  double milliseconds = 0;  // that the requests of a cycle take
  // The server sends one list of items each ServerStep at most, and the next one not before the answer.
  double serverMilliseconds = 0;
  double period = 0;  // ms between two refreshes: the update rate, or as often as it goes
  std::vector<ExtraRequest> extra;

  double LineLoad() const noexcept { return IsRefreshed() ? milliseconds / period : 0; }
  double ServerLoad() const noexcept { return IsRefreshed() ? serverMilliseconds / period : 0; }
  bool KeepsUp() const noexcept { return ServerLoad() <= 1; }

 private:
  bool IsRefreshed() const noexcept { return active && items != 0; }
};

inline constexpr double ServerStep = 100;  // ms

// `gap` as in modbus::PlanReads.
GroupPlan PlanGroup(const Group& group, std::int32_t gap, const LineTime& time);

}  // namespace orvo::modbus_plan
