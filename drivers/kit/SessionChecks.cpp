// Many requests on one driver: what goes wrong only after some of them.
#include "kit/Checks.h"
#include "kit/WriteValues.h"

#include <array>

namespace orvo::kit {

namespace {

void RequireNoErrors(const SinkEvent& answer, std::size_t request) {
  for (const std::int32_t error : answer.errors.View()) {
    if (error != 0)
      throw CheckFailed{"request " + std::to_string(request) + " is answered with error " +
                        std::to_string(error)};
  }
}

// In turn on one driver, and in the end a close with one more request under way.
void LongSessionOfItems(DriverSession& session, const std::vector<std::pair<CompiledItem, Variant>>& writes) {
  constexpr std::size_t rounds = 12;
  const std::vector<CompiledItem>& items = session.Items();
  session.Opened();
  std::size_t sent = 0;
  const auto read = [&] { session.Call("ReadItems", [&] { session.Read(items); }); };
  const auto write = [&] { session.Call("WriteItems", [&] { session.Write(writes); }); };
  const auto require = [&](SinkEventKind kind, std::size_t count) {
    const SinkEvent answer = session.AwaitOnly(kind, sent++);
    DriverSession::RequireArrays(answer, count);
    RequireNoErrors(answer, sent);
  };
  for (std::size_t k = 0; k < rounds; ++k) {
    read();
    require(SinkEventKind::ReadComplete, items.size());
    // Without writes as many requests, so that both find what begins after so many.
    if (writes.empty()) {
      read();
      require(SinkEventKind::ReadComplete, items.size());
    } else {
      write();
      require(SinkEventKind::WriteComplete, writes.size());
    }
  }
  session.RequireAnswers(sent, "to as many requests");
  if (writes.empty()) {
    read();
    session.CloseAndRequireAnswer(SinkEventKind::ReadComplete, items.size(), sent);
  } else {
    write();
    session.CloseAndRequireAnswer(SinkEventKind::WriteComplete, writes.size(), sent);
  }
  session.RequireAnswers(sent + 1, "to as many requests");
}

void LongSessionOfItemReads(DriverSession& session) {
  LongSessionOfItems(session, {});
}
void LongSessionOfItemsBothWays(DriverSession& session) {
  LongSessionOfItems(session, ItemsToWrite(session));
}

constexpr std::array SessionChecksList{
    Check{{"long-session-of-reads",
           "Two dozen reads in turn on one driver are answered once each, without error, before the next is "
           "sent, and a close in the end answers the last."},
          "reads-again-and-again reads-without-errors closing-answers",
          LongSessionOfItemReads},
    Check{{"long-session", "So are a dozen reads and a dozen writes by turns."},
          "long-session-of-reads writes-without-errors closing-answers-writes",
          LongSessionOfItemsBothWays},
};

}  // namespace

std::span<const Check> SessionChecks() {
  return SessionChecksList;
}

}  // namespace orvo::kit
