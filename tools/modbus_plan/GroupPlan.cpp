#include "GroupPlan.h"

#include "modbus/ReadPlan.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orvo::modbus_plan {

namespace {

std::string Counted(std::int32_t count, modbus::Area area) {
  return std::to_string(count) + (modbus::HoldsBits(area) ? " bit" : " register") + (count == 1 ? "" : "s");
}

// Why a block is not part of the one before it.
class Reasons {
 public:
  Reasons(const Group& group, std::int32_t gap, const modbus::Obstacles& obstacles)
      : group_(group), gap_(gap), obstacles_(obstacles) {}

  // For all blocks in their order; nothing for the first.
  std::string Next(const modbus::ReadBlock& block) {
    std::string reason = latest_ == nullptr ? "" : ReasonOf(block);
    latest_ = &block;
    if (!obstacles_.IsAlone(block.span)) shared_ = &block;
    return reason;
  }

 private:
  const Item& First(const modbus::ReadBlock& block) const { return group_.items[block.items.front()]; }
  const Item& Last(const modbus::ReadBlock& block) const {
    return group_
        .items[*std::max_element(block.items.begin(), block.items.end(), [&](std::size_t a, std::size_t b) {
          return group_.items[a].place.End() < group_.items[b].place.End();
        })];
  }
  std::string ReasonOf(const modbus::ReadBlock& block) const {
    const modbus::Area area = block.span.area;
    if (obstacles_.IsAlone(block.span)) return "the device refuses it, so it is asked for alone";
    if (latest_->span.area != area)
      return "it is the first " + std::string(modbus::NameOf(area)) + ", and areas share no request";
    if (shared_ == nullptr || shared_->span.area != area)
      return "it lies behind " + First(*latest_).Text() + ", which the device refuses";
    const std::int32_t most = modbus::GapOf(area, gap_);
    const std::int32_t distance = block.span.start - shared_->span.End();
    if (distance > most)
      return Counted(distance, area) + " behind " + Last(*shared_).Text() + ", gap is " + std::to_string(most);
    const modbus::Span& place = First(block).place;
    if (place.End() - shared_->span.start > modbus::MostRead(area))
      return "with it the request from " + First(*shared_).Text() + " on would have " +
             Counted(place.End() - shared_->span.start, area) + ", " + std::to_string(modbus::MostRead(area)) +
             " is the limit";
    return "it lies behind " + First(*latest_).Text() + ", which the device refuses";
  }

  const Group& group_;
  const std::int32_t gap_;
  const modbus::Obstacles& obstacles_;
  const modbus::ReadBlock* latest_ = nullptr;
  const modbus::ReadBlock* shared_ = nullptr;  // the latest that is not of a refused item
};

}  // namespace

GroupPlan PlanGroup(const Group& group, std::int32_t gap, const LineTime& time) {
  GroupPlan plan;
  plan.name = group.name;
  plan.active = group.active;
  plan.updateRate = group.updateRate;
  plan.items = group.items.size();
  std::vector<modbus::Span> places;
  places.reserve(group.items.size());
  modbus::Obstacles obstacles;
  for (const Item& item : group.items) {
    places.push_back(item.place);
    if (item.isRefused) obstacles.PutAlone(item.place);
  }
  const auto blocks = modbus::PlanReads(places, gap, obstacles);
  Reasons reasons(group, gap, obstacles);
  plan.requests = blocks.size();
  for (const modbus::ReadBlock& block : blocks) {
    const Cost cost = time.OfRead(block.span);
    plan.requestBytes += cost.requestBytes;
    plan.answerBytes += cost.answerBytes;
    plan.milliseconds += cost.milliseconds;
    std::string reason = reasons.Next(block);
    if (!reason.empty()) plan.extra.push_back({group.items[block.items.front()].Text(), std::move(reason)});
  }
  if (plan.items != 0)
    plan.serverMilliseconds = ServerStep * std::max(1.0, std::ceil(plan.milliseconds / ServerStep));
  // Rate 0 asks for as often as it goes.
  plan.period = plan.updateRate > 0 ? plan.updateRate : plan.serverMilliseconds;
  return plan;
}

}  // namespace orvo::modbus_plan
