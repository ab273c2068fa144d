// Requests that meet each other, a sink that fails, one that is replaced.
#include "errors/AutomationError.h"
#include "kit/Checks.h"

#include <array>
#include <utility>

namespace orvo::kit {

namespace {

// Two reads that can be told apart by the length of their answers.
std::vector<CompiledItem> One(DriverSession& session) {
  return {session.Items().front()};
}
std::vector<CompiledItem> Two(DriverSession& session) {
  return {session.Items().front(), session.Items().front()};
}

void RequireCallbacksCaught(DriverSession& session) {
  if (const std::string& escaped = session.Platform().Escaped(); !escaped.empty())
    throw CheckFailed{"an exception left the driver's timer or posted call: " + escaped};
}

void OpensTwice(DriverSession& session) {
  CommunicationDriver& driver = session.Opened();
  session.MayRefuse("the second OpenCommunication", [&] { driver.OpenCommunication(true); });
  session.Call("ReadItems after it", [&] { session.Read(session.Items()); });
  session.AwaitAnswer(SinkEventKind::ReadComplete);
}

void ReadsAgainAndAgain(DriverSession& session) {
  constexpr std::size_t rounds = 5;
  session.Opened();
  for (std::size_t k = 0; k < rounds; ++k) {
    session.Call("ReadItems", [&] { session.Read(k % 2 == 0 ? One(session) : Two(session)); });
    DriverSession::RequireArrays(session.AwaitAnswer(SinkEventKind::ReadComplete, k), k % 2 == 0 ? 1 : 2);
  }
  session.RequireAnswers(rounds, "to " + std::to_string(rounds) + " reads");
}

void ReadsFromTheHandler(DriverSession& session) {
  session.Opened();
  const std::vector<CompiledItem> next = Two(session);
  std::string failure;
  bool sent = false;
  session.Sink().onEvent = [&](const SinkEvent&) {
    if (std::exchange(sent, true)) return;
    try {
      session.Call("ReadItems inside AsyncReadComplete", [&] { session.Read(next); });
    } catch (const CheckFailed& failed) {
      failure = failed.seen;
    }
  };
  session.Call("ReadItems", [&] { session.Read(One(session)); });
  session.AwaitAnswer(SinkEventKind::ReadComplete);
  if (!failure.empty()) throw CheckFailed{failure};
  const SinkEvent second = session.AwaitAnswer(SinkEventKind::ReadComplete, 1);
  if (second.insideCall) throw CheckFailed{"the second answer came inside the call of ReadItems"};
  DriverSession::RequireArrays(second, 2);
  session.RequireAnswers(2, "to two reads");
}

void KeepsRequestsApart(DriverSession& session) {
  session.Opened();
  const std::vector<CompiledItem> one = One(session);
  const std::vector<CompiledItem> two = Two(session);
  session.Call("ReadItems", [&] { session.Read(one); });
  const bool taken = session.MayRefuse("the second ReadItems", [&] { session.Read(two); });
  DriverSession::RequireArrays(session.AwaitAnswer(SinkEventKind::ReadComplete), 1);
  if (taken) DriverSession::RequireArrays(session.AwaitAnswer(SinkEventKind::ReadComplete, 1), 2);
  session.RequireAnswers(taken ? 2 : 1, taken ? "to two reads" : "to the one read that was taken");
  session.Call("ReadItems after it", [&] { session.Read(one); });
  session.AwaitAnswer(SinkEventKind::ReadComplete, taken ? 2 : 1);
}

void SurvivesAFailingHandler(DriverSession& session) {
  session.Opened();
  bool failed = false;
  session.Sink().onEvent = [&](const SinkEvent&) {
    if (!std::exchange(failed, true))
      RaiseRuntimeError(RuntimeError::ObjectNotSet, "the handler of a test fails");
  };
  session.Call("ReadItems", [&] { session.Read(One(session)); });
  session.AwaitAnswer(SinkEventKind::ReadComplete);
  session.RequireAnswers(1, "to a read whose handler failed");
  RequireCallbacksCaught(session);
  session.Call("ReadItems after it", [&] { session.Read(Two(session)); });
  DriverSession::RequireArrays(session.AwaitAnswer(SinkEventKind::ReadComplete, 1), 2);
  session.RequireAnswers(2, "to two reads");
}

void SurvivesWrongLengths(DriverSession& session) {
  CommunicationDriver& driver = session.Opened();
  const CompiledItem item = session.Items().front();
  const SafeArray<double> addresses{item.address, item.address};
  const SafeArray<std::int16_t> dimensions{static_cast<std::int16_t>(item.words)};
  const bool taken = session.MayRefuse("ReadItems of two addresses with one dimension",
                                       [&] { driver.ReadItems(addresses, dimensions); });
  if (taken) session.AwaitAnswer(SinkEventKind::ReadComplete);
  const std::size_t answers = taken ? 1 : 0;
  session.RequireAnswers(answers, "to a read of two addresses with one dimension");
  session.Call("ReadItems after it", [&] { session.Read(One(session)); });
  session.AwaitAnswer(SinkEventKind::ReadComplete, answers);
}

void AnswersTheNewSink(DriverSession& session) {
  session.Opened();
  session.ReplaceSink();
  if (!session.SinkHasEnded()) throw CheckFailed{"the former sink is still held after another one was set"};
  session.Call("ReadItems", [&] { session.Read(One(session)); });
  session.AwaitAnswer(SinkEventKind::ReadComplete);
  session.RequireAnswers(1, "to one read");
}

void LivesWithoutASink(DriverSession& session) {
  CommunicationDriver& driver = session.Opened();
  session.Items();
  session.Call("SetEventSink of nothing", [&] { driver.SetEventSink(nullptr); });
  session.MayRefuse("ReadItems without a sink", [&] { session.Read(One(session)); });
  session.RequireAnswers(0, "at a sink that was withdrawn");
  RequireCallbacksCaught(session);
  session.ReplaceSink();
  // What was taken without a sink and is still under way may be in the way of the next one, not for ever.
  session.RunFor(session.Plan().quiet);
  const std::size_t before = session.Sink().answers.size();
  session.Call("ReadItems after it", [&] { session.Read(Two(session)); });
  DriverSession::RequireArrays(session.AwaitAnswer(SinkEventKind::ReadComplete, before), 2);
}

constexpr std::array SequenceChecksList{
    Check{{"reads-again-and-again",
           "One request after the other is answered, each once and with its own arrays."},
          "reads answers-once answers-arrays",
          ReadsAgainAndAgain},
    Check{{"reads-from-the-handler",
           "The next request may be sent from inside the completion of the one before."},
          "reads answers-once answers-arrays",
          ReadsFromTheHandler},
    Check{{"keeps-requests-apart",
           "A second request before the answer is refused, or both are answered once, in order."},
          "reads answers-once answers-arrays",
          KeepsRequestsApart},
    Check{{"survives-a-failing-handler",
           "A completion whose handler fails is not repeated, and the next request is answered."},
          "reads answers-once answers-arrays",
          SurvivesAFailingHandler},
    Check{{"survives-wrong-lengths",
           "A request of arrays that do not fit together is refused, or answered once."},
          "reads answers-once",
          SurvivesWrongLengths},
    Check{{"opens-twice", "Opening what is open changes nothing or is refused; reads go on."},
          "reads",
          OpensTwice},
    Check{{"answers-the-new-sink",
           "After SetEventSink the new sink alone is called, and the former one is let go."},
          "reads answers-once",
          AnswersTheNewSink},
    Check{{"lives-without-a-sink",
           "A driver whose sink is withdrawn calls nothing and goes on with the next sink."},
          "reads answers-once answers-arrays",
          LivesWithoutASink},
};

}  // namespace

std::span<const Check> SequenceChecks() {
  return SequenceChecksList;
}

}  // namespace orvo::kit
