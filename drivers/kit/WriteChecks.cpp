// Writes of items, and what is read afterwards.
#include "kit/Checks.h"
#include "kit/WriteValues.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <array>
#include <bit>

namespace orvo::kit {

namespace {

SinkEvent AnswerOfWrite(DriverSession& session, const std::vector<std::pair<CompiledItem, Variant>>& items) {
  session.Opened();
  session.Call("WriteItems", [&] { session.Write(items); });
  return session.AwaitAnswer(SinkEventKind::WriteComplete);
}

void Writes(DriverSession& session) {
  AnswerOfWrite(session, ItemsToWrite(session));
}

void AnswersWriteOnce(DriverSession& session) {
  if (AnswerOfWrite(session, ItemsToWrite(session)).insideCall)
    throw CheckFailed{"the answer came inside the call of WriteItems"};
  session.RequireAnswers(1, "to one write");
}

void AnswersWriteArrays(DriverSession& session) {
  const auto items = ItemsToWrite(session);
  DriverSession::RequireArrays(AnswerOfWrite(session, items), items.size());
}

void RequireNoErrors(const SinkEvent& answer, const std::vector<std::pair<CompiledItem, Variant>>& items,
                     const std::string& done) {
  for (std::size_t k = 0; k < answer.errors.Size() && k < items.size(); ++k) {
    if (const std::int32_t error = answer.errors.View()[k]; error != 0)
      throw CheckFailed{"'" + items[k].first.id + "' is " + done + " with error " + std::to_string(error)};
  }
}

void WritesWithoutErrors(DriverSession& session) {
  const auto items = ItemsToWrite(session);
  RequireNoErrors(AnswerOfWrite(session, items), items, "written");
}

std::uint32_t LittleEndian(std::span<const std::uint8_t> bytes) {
  std::uint32_t number = 0;
  for (std::size_t k = 0; k < std::min<std::size_t>(bytes.size(), 4); ++k)
    number |= std::uint32_t{bytes[k]} << (8 * k);
  return number;
}

bool IsWhatWasWritten(DriverSession& session, const CompiledItem& item, const Variant& written,
                      const Variant& read) {
  const std::span<const std::uint8_t> bytes = read.Bytes();
  if (item.type == Single) return LittleEndian(bytes) == std::bit_cast<std::uint32_t>(written.Get<float>());
  if (item.type != Integer) {
    const std::span<const std::uint8_t> expected = written.Bytes();
    return bytes.size() >= expected.size() && std::equal(expected.begin(), expected.end(), bytes.begin());
  }
  Variant value = item.words == 1 ? Variant(static_cast<std::int16_t>(LittleEndian(bytes)))
                                  : Variant(static_cast<std::int32_t>(LittleEndian(bytes)));
  session.Call("ExtractValue of '" + item.id + "'",
               [&] { session.Device().ExtractValue(item.address, value, 0); });
  // A word of 65535 comes back as -1: the bits decide.
  const std::uint32_t mask = item.words == 1 ? 0xFFFFU : 0xFFFFFFFFU;
  return (static_cast<std::uint32_t>(ToI8(value)) & mask) ==
         (static_cast<std::uint32_t>(written.Get<std::int32_t>()) & mask);
}

void ReadsBackWhatWasWritten(DriverSession& session) {
  const auto items = ItemsToWrite(session);
  AnswerOfWrite(session, items);
  std::vector<CompiledItem> written;
  written.reserve(items.size());
  for (const auto& [item, value] : items)
    written.push_back(item);
  session.Call("ReadItems", [&] { session.Read(written); });
  const SinkEvent answer = session.AwaitAnswer(SinkEventKind::ReadComplete, 1);
  DriverSession::RequireArrays(answer, items.size());
  RequireNoErrors(answer, items, "read back");
  for (std::size_t k = 0; k < items.size(); ++k) {
    const auto& [item, value] = items[k];
    const Variant read = answer.values.View()[k];
    if (!read.IsByteArray()) throw CheckFailed{"the value of '" + item.id + "' is no array of bytes"};
    if (!IsWhatWasWritten(session, item, value, read))
      throw CheckFailed{"'" + item.id + "' does not read what was written to it"};
  }
}

void RefusesWritesWhileClosed(DriverSession& session) {
  const auto items = ItemsToWrite(session);
  if (session.MayRefuse("WriteItems before the opening", [&] { session.Write(items); }))
    throw CheckFailed{"WriteItems is taken before the opening"};
  session.Opened();
  session.Close();
  if (session.MayRefuse("WriteItems after the closing", [&] { session.Write(items); }))
    throw CheckFailed{"WriteItems is taken after the closing"};
  session.RequireAnswers(0, "to requests that were refused");
}

void ClosingAnswersWrites(DriverSession& session) {
  const auto items = ItemsToWrite(session);
  session.Opened();
  session.Call("WriteItems", [&] { session.Write(items); });
  session.CloseAndRequireAnswer(SinkEventKind::WriteComplete, items.size());
  session.RequireAnswers(1, "to one write");
}

constexpr std::array WriteChecksList{
    Check{
        {"writes", "A write that was taken is answered within the time-out."}, "opens compiles-items", Writes},
    Check{{"answers-writes-once", "A write is answered exactly once, from the message loop."},
          "writes",
          AnswersWriteOnce},
    Check{{"answers-write-arrays",
           "The errors of a write are parallel to the addresses, their lower bound is 0."},
          "writes",
          AnswersWriteArrays},
    Check{{"writes-without-errors", "The values that are given for the test are written without an error."},
          "writes answers-write-arrays",
          WritesWithoutErrors},
    Check{{"reads-back", "An item reads what was written to it."},
          "writes-without-errors answers-writes-once reads answers-once answers-arrays",
          ReadsBackWhatWasWritten},
    Check{{"refuses-writes-while-closed",
           "A write while communication is closed is refused by an error, and not answered."},
          "writes",
          RefusesWritesWhileClosed},
    Check{{"closing-answers-writes",
           "CloseCommunication answers a write that is under way once, by the next pass of the message loop, "
           "with an error for each item."},
          "writes answers-writes-once answers-write-arrays",
          ClosingAnswersWrites},
};

}  // namespace

std::span<const Check> WriteChecks() {
  return WriteChecksList;
}

}  // namespace orvo::kit
