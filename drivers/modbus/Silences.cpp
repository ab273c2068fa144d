#include "modbus/Silences.h"

#include <algorithm>

namespace orvo::modbus {

namespace {

bool Overlap(const Span& a, const Span& b) noexcept {
  return a.area == b.area && a.start < b.End() && b.start < a.End();
}

bool LiesIn(const Span& inner, const Span& outer) noexcept {
  return inner.area == outer.area && inner.start >= outer.start && inner.End() <= outer.End();
}

}  // namespace

void Silences::Put(const Span& place) {
  std::erase(places_, place);
  places_.push_back(place);
  if (places_.size() > Most) places_.erase(places_.begin());
}

void Silences::Forget(const Span& answered) {
  std::erase_if(places_, [&](const Span& place) { return LiesIn(place, answered); });
}

void Silences::ForgetOnly(const Span& place) {
  std::erase(places_, place);
}

std::size_t Silences::RankOf(const Span& place) const noexcept {
  const auto newest = std::find_if(places_.rbegin(), places_.rend(),
                                   [&](const Span& silent) { return Overlap(silent, place); });
  return static_cast<std::size_t>(places_.rend() - newest);
}

}  // namespace orvo::modbus
