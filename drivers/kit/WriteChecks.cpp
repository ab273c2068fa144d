// Writes of items, and what is read afterwards.
#include "kit/Checks.h"
#include "values/Text.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace orvo::kit {

namespace {

enum ItemType : std::int32_t { Integer = 0, Text = 1, Single = 2, Raw = 3 };

[[noreturn]] void RejectValue(const CompiledItem& item, const std::string& value, const std::string& why) {
  throw CheckFailed{"'" + value + "' cannot be written to '" + item.id + "': " + why};
}

Variant NumberToWrite(const CompiledItem& item, const std::string& value) {
  const auto number = ParseDecimal(value);
  if (!number) RejectValue(item, value, "it is no number");
  if (item.type == Single) return static_cast<float>(*number);
  // A double word above the signed range travels as the same 32 bits.
  if (*number != std::floor(*number) || *number < -2147483648.0 || *number > 4294967295.0)
    RejectValue(item, value, "it is no whole number of 32 bits");
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::int64_t>(*number)));
}

int DigitOf(char character) {
  constexpr std::string_view digits = "0123456789abcdef";
  const auto lower =
      static_cast<char>(character >= 'A' && character <= 'F' ? character - 'A' + 'a' : character);
  const std::size_t place = digits.find(lower);
  return place == std::string_view::npos ? -1 : static_cast<int>(place);
}

Variant BytesToWrite(const CompiledItem& item, const std::string& value) {
  std::vector<std::uint8_t> bytes;
  int high = -1;
  for (const char character : value) {
    if (character == ' ') continue;
    const int digit = DigitOf(character);
    if (digit < 0) RejectValue(item, value, "it is no row of bytes such as A0 A1");
    if (high >= 0) bytes.push_back(static_cast<std::uint8_t>(16 * high + digit));
    high = high < 0 ? digit : -1;
  }
  if (high >= 0) RejectValue(item, value, "it ends in half a byte");
  if (bytes.size() > static_cast<std::size_t>(item.words) * 2)
    RejectValue(item, value, "it is longer than the item");
  return Variant::OfBytes(bytes);
}

// What the system hands to a driver: a 32-bit integer, a single, or bytes; texts filled up with blanks.
Variant ValueToWrite(const CompiledItem& item, const std::string& value) {
  if (item.type == Integer || item.type == Single) return NumberToWrite(item, value);
  if (item.type == Raw) return BytesToWrite(item, value);
  std::vector<std::uint8_t> bytes = EncodeWindows1252(value);
  const auto length = static_cast<std::size_t>(item.words) * 2;
  if (bytes.size() > length) RejectValue(item, value, "it is longer than the item");
  constexpr std::uint8_t blank = 32;
  bytes.resize(length, blank);
  return Variant::OfBytes(bytes);
}

std::vector<std::pair<CompiledItem, Variant>> ItemsToWrite(DriverSession& session) {
  if (session.Plan().writes.empty()) throw NotApplicable{"no value is given that may be written"};
  std::vector<std::pair<CompiledItem, Variant>> items;
  for (const auto& [id, value] : session.Plan().writes) {
    const CompiledItem item = session.Compile(id);
    items.emplace_back(item, ValueToWrite(item, value));
  }
  return items;
}

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

constexpr std::array List{
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
};

}  // namespace

std::span<const Check> WriteChecks() {
  return List;
}

}  // namespace orvo::kit
