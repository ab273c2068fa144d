// Shows a group's changes as they come: a table that is drawn over itself on a terminal, plain lines otherwise.
#pragma once

#include "Session.h"
#include "model/KELDataGroupEvents.h"

#include <chrono>
#include <cstdint>
#include <iosfwd>

namespace orvo::client {

class ChangeView final : public KELDataGroupEvents {
 public:
  ChangeView(const PortablePlatform& platform, KELDataGroup& group, std::ostream& out, bool live);

  void DataChange(const SafeArray<std::int32_t>& DataHandles, const SafeArray<Variant>& USERValues) override;

  std::int64_t Events() const noexcept { return events_; }
  std::int64_t Values() const noexcept { return values_; }

  // Opens communication, refreshes the group every `rate` milliseconds for `duration`, shows it, and closes.
  static void Watch(Session& session, KELDataGroup& group, std::int32_t rate,
                    std::chrono::milliseconds duration, std::ostream& out);

 private:
  std::string Elapsed() const;
  void Draw();

  const PortablePlatform& platform_;
  KELDataGroup& group_;
  std::ostream& out_;
  const bool live_;
  const std::uint32_t start_;
  std::int64_t events_ = 0;
  std::int64_t values_ = 0;
  std::size_t linesDrawn_ = 0;
};

// Whether the standard output is a terminal.
bool IsTerminal();

}  // namespace orvo::client
