// Closing while a request is under way, and what a driver leaves behind.
#include "kit/Checks.h"
#include "kit/ThreadCount.h"

#include <array>

namespace orvo::kit {

namespace {

void RequireClosingAnswer(DriverSession& session) {
  session.RequireClosingAnswer(SinkEventKind::ReadComplete, session.Items().size());
}

void ReadAndClose(DriverSession& session) {
  session.Opened();
  session.ReadOrSkip(session.Items());
  session.Close();
}

void ClosingAnswers(DriverSession& session) {
  ReadAndClose(session);
  RequireClosingAnswer(session);
  session.RequireAnswers(1, "to one read");
}

void ClosingLeavesNothingInTheWay(DriverSession& session) {
  ReadAndClose(session);
  RequireClosingAnswer(session);
  session.Opened();
  session.Call("ReadItems after closing and opening", [&] { session.Read({session.Items().front()}); });
  DriverSession::RequireArrays(session.AwaitAnswer(SinkEventKind::ReadComplete, 1), 1);
  session.RequireAnswers(2, "to two reads");
}

void ClosingAnswersThoughReleased(DriverSession& session) {
  ReadAndClose(session);
  session.Release();
  RequireClosingAnswer(session);
  session.RequireAnswers(1, "to one read");
}

// Opens, reads and releases: with or without a close before, and with or without waiting for the answer.
enum class End { Answered, Closed, Outstanding };

void ReadAndRelease(DriverSession& session, End end) {
  session.Opened();
  session.ReadOrSkip(session.Items());
  if (end == End::Answered) session.AwaitAnswer(SinkEventKind::ReadComplete);
  if (end != End::Outstanding) session.Close();
  session.Release();
}

void ReleaseWhileOutstanding(DriverSession& session) {
  ReadAndRelease(session, End::Outstanding);
  session.RunFor(session.Plan().quiet);
  if (const std::size_t count = session.Sink().answers.size(); count > 1)
    throw CheckFailed{Counted(count, "answer") + " to one read"};
  if (!session.RunUntil([&] { return session.DriverHasEnded(); }, session.Plan().timeout))
    throw CheckFailed{"the driver is still alive " + Seconds(session.Plan().timeout) + " after its release"};
  const std::size_t before = session.Sink().answers.size();
  session.RequireAnswers(before, "after the driver's end");
}

void DriverEnds(DriverSession& session) {
  ReadAndRelease(session, End::Answered);
  if (!session.RunUntil([&] { return session.DriverHasEnded(); }, session.Plan().timeout))
    throw CheckFailed{"the driver is still alive " + Seconds(session.Plan().timeout) + " after its release"};
}

void LeavesNoTimer(DriverSession& session) {
  for (const End end : {End::Answered, End::Closed}) {
    ReadAndRelease(session, end);
    session.RunFor(session.Plan().quiet);
    if (const std::size_t timers = session.Platform().TimersAlive(); timers > 0)
      throw CheckFailed{Counted(timers, "timer") + " still running after the driver's release"};
  }
}

void LeavesNoThread(DriverSession& session) {
  const std::optional<std::size_t> before = ThreadCount();
  if (!before) throw NotApplicable{"this system does not tell how many threads a process has"};
  ReadAndRelease(session, End::Answered);
  // A thread that was joined leaves the system's list a moment later.
  if (!session.RunUntil([&] { return ThreadCount().value_or(0) <= *before; }, session.Plan().timeout))
    throw CheckFailed{Counted(ThreadCount().value_or(0) - *before, "thread") +
                      " still running after the driver's release"};
}

void LeavesTheSink(DriverSession& session) {
  ReadAndRelease(session, End::Answered);
  session.RunFor(session.Plan().quiet);
  session.ReleaseSink();
  if (!session.SinkHasEnded()) throw CheckFailed{"the sink is still held after the driver's release"};
}

void SaysNothingAfterItsEnd(DriverSession& session) {
  ReadAndRelease(session, End::Answered);
  session.RequireAnswers(1, "to one read, the driver released meanwhile");
  if (const std::string& escaped = session.Platform().Escaped(); !escaped.empty())
    throw CheckFailed{"an exception left the driver's timer or posted call: " + escaped};
}

constexpr std::array EndChecksList{
    Check{{"closing-answers",
           "CloseCommunication answers a read that is under way once, by the next pass of the message loop, "
           "with an "
           "error for each item."},
          "opens compiles-items",
          ClosingAnswers},
    Check{{"closing-clears",
           "After a close with a read under way communication opens again and reads are answered."},
          "reads answers-once answers-arrays closing-answers",
          ClosingLeavesNothingInTheWay},
    Check{{"closing-answers-though-released",
           "That answer comes even if the driver is released right after the close."},
          "closing-answers",
          ClosingAnswersThoughReleased},
    Check{{"release-under-way",
           "A driver that is released with a read under way ends, answers at most once, and nothing after its "
           "end."},
          "opens compiles-items",
          ReleaseWhileOutstanding},
    Check{{"ends-when-released", "A driver that nobody holds any more ends."}, "reads", DriverEnds},
    Check{{"leaves-no-timer", "No timer runs after the driver's end."}, "reads", LeavesNoTimer},
    Check{{"leaves-no-thread", "No thread outlives its driver."}, "reads", LeavesNoThread},
    Check{{"leaves-the-sink", "The sink is let go with the driver's end."}, "reads", LeavesTheSink},
    Check{{"says-nothing-after-its-end",
           "Nothing comes after the driver's end, and no exception leaves its callbacks."},
          "reads answers-once",
          SaysNothingAfterItsEnd},
};

}  // namespace

std::span<const Check> EndChecks() {
  return EndChecksList;
}

}  // namespace orvo::kit
