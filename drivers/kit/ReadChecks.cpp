// Reads of items, one at a time.
#include "kit/Checks.h"

#include <array>

namespace orvo::kit {

namespace {

SinkEvent AnswerOfRead(DriverSession& session, const std::vector<CompiledItem>& items) {
  session.Opened();
  session.Call("ReadItems", [&] { session.Read(items); });
  return session.AwaitAnswer(SinkEventKind::ReadComplete);
}

SinkEvent AnswerOfRead(DriverSession& session) {
  return AnswerOfRead(session, session.Items());
}

void Reads(DriverSession& session) {
  AnswerOfRead(session);
}

void AnswersOnce(DriverSession& session) {
  AnswerOfRead(session);
  session.RequireAnswers(1, "to one read");
}

void AnswersOutsideTheCall(DriverSession& session) {
  if (AnswerOfRead(session).insideCall) throw CheckFailed{"the answer came inside the call of ReadItems"};
}

void AnswersOnOwnersThread(DriverSession& session) {
  session.Opened();
  RecordingSink& sink = session.Sink();
  session.ReadOrSkip(session.Items());
  session.RunUntil([&] { return !sink.answers.empty() || sink.EventsOfOtherThreads() > 0; },
                   session.Plan().timeout);
  session.RunFor(session.Plan().quiet);
  if (const std::size_t foreign = sink.EventsOfOtherThreads(); foreign > 0)
    throw CheckFailed{"the sink was called " + Counted(foreign, "time") + " on another thread"};
  if (sink.answers.empty()) throw NotApplicable{"no answer came on any thread"};
}

void AnswersArrays(DriverSession& session) {
  DriverSession::RequireArrays(AnswerOfRead(session), session.Items().size());
}

void ReadsWithoutErrors(DriverSession& session) {
  const SinkEvent answer = AnswerOfRead(session);
  for (std::size_t k = 0; k < answer.errors.Size() && k < session.Items().size(); ++k) {
    if (const std::int32_t error = answer.errors.View()[k]; error != 0)
      throw CheckFailed{"'" + session.Items()[k].id + "' is answered with error " + std::to_string(error)};
  }
}

void RequireBytes(const CompiledItem& item, const Variant& value) {
  const std::string name = "the value of '" + item.id + "' ";
  if (!value.IsByteArray()) throw CheckFailed{name + "is no array of bytes"};
  const auto expected = static_cast<std::size_t>(item.words) * 2;
  if (value.ElementCount() != expected)
    throw CheckFailed{name + "has " + Counted(value.ElementCount(), "byte") + " instead of " +
                      std::to_string(expected)};
  if (value.LowerBound() != 0)
    throw CheckFailed{name + "begins at " + std::to_string(value.LowerBound()) + ", not at 0"};
}

void AnswersBytes(DriverSession& session) {
  const SinkEvent answer = AnswerOfRead(session);
  bool any = false;
  for (std::size_t k = 0; k < session.Items().size(); ++k) {
    if (answer.errors.View()[k] != 0) continue;
    RequireBytes(session.Items()[k], answer.values.View()[k]);
    any = true;
  }
  if (!any) throw NotApplicable{"no item is read without error"};
}

// An item that is gone meanwhile is asked for with the address 0.
void AnswersErrorsWithEmpty(DriverSession& session) {
  std::vector<CompiledItem> items = session.Items();
  items.push_back({"address 0", 0, 1, 0});
  const SinkEvent answer = AnswerOfRead(session, items);
  DriverSession::RequireArrays(answer, items.size());
  for (std::size_t k = 0; k < items.size(); ++k) {
    if (answer.errors.View()[k] == 0)
      RequireBytes(items[k], answer.values.View()[k]);
    else if (!answer.values.View()[k].IsEmpty())
      throw CheckFailed{"the value of '" + items[k].id + "' is not Empty beside error " +
                        std::to_string(answer.errors.View()[k])};
  }
  session.RequireAnswers(1, "to one read");
}

constexpr std::array ReadChecksList{
    Check{{"reads", "A read that was taken is answered within the time-out."}, "opens compiles-items", Reads},
    Check{{"answers-once", "A read is answered exactly once."}, "reads", AnswersOnce},
    Check{{"answers-outside-the-call", "A read is answered from the message loop, never inside the call."},
          "reads",
          AnswersOutsideTheCall},
    Check{{"answers-on-owners-thread", "The sink is called on the owner's thread only."},
          "opens compiles-items",
          AnswersOnOwnersThread},
    Check{{"answers-arrays", "Values and errors are parallel to the addresses, their lower bound is 0."},
          "reads",
          AnswersArrays},
    Check{{"reads-without-errors", "The items that are given for the test are read without an error."},
          "reads answers-arrays",
          ReadsWithoutErrors},
    Check{{"answers-bytes", "A value is an array of 2 x dimension bytes from 0 on."},
          "reads answers-arrays",
          AnswersBytes},
    Check{{"answers-errors-with-empty",
           "An address that names nothing does no harm, and beside an error the value is Empty."},
          "reads answers-once answers-arrays",
          AnswersErrorsWithEmpty},
};

}  // namespace

std::span<const Check> ReadChecks() {
  return ReadChecksList;
}

}  // namespace orvo::kit
