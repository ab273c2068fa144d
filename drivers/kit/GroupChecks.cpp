// Definitions of groups, and groups that are transferred as a whole.
#include "errors/modConstant.h"
#include "kit/Checks.h"

#include <algorithm>
#include <array>

namespace orvo::kit {

namespace {

void SetDefinition(DriverSession& session, std::int32_t group, std::int32_t define) {
  session.Call(std::string("SetGroupDefinition, ") + (define == DefineOnDevice ? "define" : "release") +
                   " group " + std::to_string(group),
               [&] { session.Driver().SetGroupDefinition(group, define); });
}

void DefinesGroups(DriverSession& session) {
  constexpr std::int32_t most = 8;
  CommunicationDriver& driver = session.Opened();
  const std::int32_t capacity = session.Ask("GroupCapacity", [&] { return driver.GroupCapacity(); });
  if (capacity < 1) throw NotApplicable{"GroupCapacity is " + std::to_string(capacity)};
  const std::int32_t count = std::min(capacity, most);
  const std::int32_t first = session.Plan().groupId;
  for (std::int32_t k = 0; k < count; ++k)
    SetDefinition(session, first + k, DefineOnDevice);
  for (std::int32_t k = 0; k < count; ++k)
    SetDefinition(session, first + k, ReleaseOnDevice);
}

// Opens, and defines the plan's group when the driver transfers groups.
SafeArray<std::uint8_t> DefinedGroup(DriverSession& session) {
  CommunicationDriver& driver = session.Opened();
  if (!session.Ask("GroupTransfer", [&] { return driver.GroupTransfer(); }))
    throw NotApplicable{"the driver transfers no whole groups"};
  std::size_t words = 0;
  for (const CompiledItem& item : session.Items())
    words += static_cast<std::size_t>(item.words);
  SetDefinition(session, session.Plan().groupId, DefineOnDevice);
  return SafeArray<std::uint8_t>(words * 2);
}

SinkEvent AnswerOfGroupRead(DriverSession& session, const SafeArray<std::uint8_t>& buffer) {
  session.Call("ReadGroup", [&] { session.Driver().ReadGroup(session.Plan().groupId, buffer); });
  return session.AwaitAnswer(SinkEventKind::ReadGroupComplete);
}

void RequireGroupAnswer(const SinkEvent& answer, const std::string& name) {
  if (answer.insideCall) throw CheckFailed{"the answer came inside the call of " + name};
  if (answer.error != 0) throw CheckFailed{"the group is answered with error " + std::to_string(answer.error)};
}

void RequireBufferOf(const SinkEvent& answer, std::size_t bytes) {
  if (answer.buffer.Size() != bytes)
    throw CheckFailed{"the buffer has " + Counted(answer.buffer.Size(), "byte") + " instead of " +
                      std::to_string(bytes)};
  if (answer.buffer.LowerBound() != 0)
    throw CheckFailed{"the buffer begins at " + std::to_string(answer.buffer.LowerBound()) + ", not at 0"};
}

void ReadsGroup(DriverSession& session) {
  const SafeArray<std::uint8_t> buffer = DefinedGroup(session);
  RequireGroupAnswer(AnswerOfGroupRead(session, buffer), "ReadGroup");
  session.RequireAnswers(1, "to one read of the group");
  SetDefinition(session, session.Plan().groupId, ReleaseOnDevice);
}

void AnswersGroupBuffer(DriverSession& session) {
  const SafeArray<std::uint8_t> buffer = DefinedGroup(session);
  const SinkEvent answer = AnswerOfGroupRead(session, buffer);
  RequireBufferOf(answer, buffer.Size());
}

void WritesGroup(DriverSession& session) {
  if (session.Plan().writes.empty()) throw NotApplicable{"no value is given that may be written"};
  const SafeArray<std::uint8_t> buffer = DefinedGroup(session);
  // What it holds is written back: the plan allows single values to be written, not a whole group of others.
  const SinkEvent read = AnswerOfGroupRead(session, buffer);
  session.Call("WriteGroup", [&] { session.Driver().WriteGroup(session.Plan().groupId, read.buffer); });
  RequireGroupAnswer(session.AwaitAnswer(SinkEventKind::WriteGroupComplete, 1), "WriteGroup");
  session.RequireAnswers(2, "to a read and a write of the group");
}

void ClosingAnswersGroup(DriverSession& session) {
  const SafeArray<std::uint8_t> buffer = DefinedGroup(session);
  if (!session.MayRefuse("ReadGroup", [&] { session.Driver().ReadGroup(session.Plan().groupId, buffer); }))
    throw NotApplicable{"ReadGroup is refused"};
  session.CloseAndRequireAnswer(SinkEventKind::ReadGroupComplete, 0);
  session.RequireAnswers(1, "to one read of the group");
}

void ClosingAnswersGroupWrite(DriverSession& session) {
  const SinkEvent read = AnswerOfGroupRead(session, DefinedGroup(session));
  session.Call("WriteGroup", [&] { session.Driver().WriteGroup(session.Plan().groupId, read.buffer); });
  session.CloseAndRequireAnswer(SinkEventKind::WriteGroupComplete, 0, 1);
  session.RequireAnswers(2, "to a read and a write of the group");
}

void RefusesGroupsWhileClosed(DriverSession& session) {
  const SinkEvent read = AnswerOfGroupRead(session, DefinedGroup(session));
  CommunicationDriver& driver = session.Driver();
  const std::int32_t group = session.Plan().groupId;
  session.Close();
  if (session.MayRefuse("ReadGroup after the closing", [&] { driver.ReadGroup(group, read.buffer); }))
    throw CheckFailed{"ReadGroup is taken after the closing"};
  if (!session.Plan().writes.empty() &&
      session.MayRefuse("WriteGroup after the closing", [&] { driver.WriteGroup(group, read.buffer); }))
    throw CheckFailed{"WriteGroup is taken after the closing"};
  session.RequireAnswers(1, "to requests of which one was taken");
}

// In turn on one driver, and in the end a close with one more request under way.
void LongSessionOfGroups(DriverSession& session, bool writes) {
  constexpr std::size_t rounds = 12;
  SafeArray<std::uint8_t> buffer = DefinedGroup(session);
  const std::int32_t group = session.Plan().groupId;
  const auto send = [&](bool write) {
    if (write)
      session.Call("WriteGroup", [&] { session.Driver().WriteGroup(group, buffer); });
    else
      session.Call("ReadGroup", [&] { session.Driver().ReadGroup(group, buffer); });
    return write ? SinkEventKind::WriteGroupComplete : SinkEventKind::ReadGroupComplete;
  };
  std::size_t sent = 0;
  for (std::size_t k = 0; k < rounds; ++k) {
    for (const bool write : {false, true}) {
      if (write && !writes) continue;
      const SinkEvent answer = session.AwaitOnly(send(write), sent++);
      RequireGroupAnswer(answer, write ? "WriteGroup" : "ReadGroup");
      if (write) continue;
      RequireBufferOf(answer, buffer.Size());
      buffer = answer.buffer;
    }
  }
  session.RequireAnswers(sent, "to as many requests of the group");
  session.CloseAndRequireAnswer(send(writes), 0, sent);
  session.RequireAnswers(sent + 1, "to as many requests of the group");
}

void LongSessionOfGroupReads(DriverSession& session) {
  LongSessionOfGroups(session, false);
}
void LongSessionOfGroupsBothWays(DriverSession& session) {
  LongSessionOfGroups(session, true);
}

constexpr std::array GroupChecksList{
    Check{{"defines-groups", "As many groups as GroupCapacity says are defined and released."},
          "opens answers-capacity",
          DefinesGroups},
    Check{{"reads-groups",
           "A defined group is read as a whole and answered once, from the message loop, without error."},
          "opens compiles-items",
          ReadsGroup},
    Check{{"answers-group-buffer",
           "The buffer of a group's answer is as long as the one of the request, from 0 on."},
          "reads-groups",
          AnswersGroupBuffer},
    Check{{"writes-groups",
           "A defined group is written as a whole and answered once, from the message loop, without error."},
          "reads-groups answers-group-buffer",
          WritesGroup},
    Check{{"closing-answers-groups",
           "CloseCommunication answers a group's read that is under way as it does others."},
          "opens compiles-items",
          ClosingAnswersGroup},
    Check{{"closing-answers-group-writes",
           "CloseCommunication answers a group's write that is under way as it does others."},
          "writes-groups",
          ClosingAnswersGroupWrite},
    Check{{"refuses-groups-while-closed",
           "A request of a group while communication is closed is refused by an error, and not answered."},
          "reads-groups answers-group-buffer",
          RefusesGroupsWhileClosed},
    Check{{"long-session-of-group-reads",
           "A dozen reads of a group in turn on one driver are answered once each before the next is sent, and "
           "a close in the end answers the last."},
          "reads-groups answers-group-buffer closing-answers-groups",
          LongSessionOfGroupReads},
    Check{{"long-session-of-groups", "The same with a write of the group after each read."},
          "long-session-of-group-reads writes-groups closing-answers-group-writes",
          LongSessionOfGroupsBothWays},
};

}  // namespace

std::span<const Check> GroupChecks() {
  return GroupChecksList;
}

}  // namespace orvo::kit
