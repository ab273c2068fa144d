#include "modbus/Reference.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>

namespace orvo::modbus {

namespace {

// In the order of Area.
constexpr std::string_view AreaLetters = "CDIH";
constexpr std::string_view LowerAreaLetters = "cdih";

constexpr std::size_t ShortReference = 5;  // digits: 9999 numbers of an area
constexpr std::size_t LongReference = 6;   // 65536 numbers
constexpr std::int32_t ShortNumbers = 9999;

std::string QuotedReference(std::string_view text) {
  return "the reference '" + std::string(text) + "'";
}

Reference ParseLetterReference(std::string_view text, Area area, const Complaint& complaint) {
  constexpr std::size_t addressDigits = 4;
  const std::string_view digits = text.substr(1);
  const auto isIn = [](std::string_view set) {
    return [set](char c) { return set.find(c) != std::string_view::npos; };
  };
  if (!std::all_of(digits.begin(), digits.end(), isIn("0123456789ABCDEFabcdef")))
    complaint.Raise("'" + std::string(digits) + "' in " + QuotedReference(text) + " is no hexadecimal number");
  if (digits.size() != addressDigits)
    complaint.Raise(QuotedReference(text) + " needs 4 hexadecimal digits behind its letter, here " +
                    std::to_string(digits.size()));
  if (std::any_of(digits.begin(), digits.end(), isIn("abcdef")))
    complaint.Raise("the hexadecimal digits of " + QuotedReference(text) + " must be upper-case");
  std::int32_t address = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), address, 16);
  return {area, address};
}

}  // namespace

Reference Reference::Parse(std::string_view text, const Complaint& complaint) {
  if (text.empty()) complaint.Raise("the reference is missing");
  if (const std::size_t letter = AreaLetters.find(text.front()); letter != std::string_view::npos)
    return ParseLetterReference(text, static_cast<Area>(letter), complaint);
  if (LowerAreaLetters.find(text.front()) != std::string_view::npos)
    complaint.Raise("the letter of " + QuotedReference(text) + " must be upper-case");
  if (!IsDigits(text))
    complaint.Raise(QuotedReference(text) +
                    " is neither a decimal number nor C, D, I or H with 4 hexadecimal digits");
  if (text.size() != ShortReference && text.size() != LongReference)
    complaint.Raise(QuotedReference(text) + " needs 5 or 6 digits, here " + std::to_string(text.size()));

  constexpr std::array areas{Area::Coils, Area::DiscreteInputs, Area::InputRegisters, Area::HoldingRegisters};
  const auto* const area =
      std::find_if(areas.begin(), areas.end(), [&](Area each) { return DigitOf(each) == text.front(); });
  if (area == areas.end())
    complaint.Raise(QuotedReference(text) + " begins with " + text.front() +
                    ", which is no area: 0 coils, 1 discrete inputs, 3 input registers, 4 holding registers");
  std::int32_t number = 0;
  std::from_chars(text.data() + 1, text.data() + text.size(), number);
  const bool isShort = text.size() == ShortReference;
  if (number < 1 || number > (isShort ? ShortNumbers : AreaSize))
    complaint.Raise("the number in " + QuotedReference(text) + " is not within " +
                    (isShort ? "0001..9999" : "00001..65536"));
  return {*area, number - 1};
}

std::string Reference::Text() const {
  const std::int32_t number = address + 1;
  const std::string digits = std::to_string(number);
  const std::size_t width = (number <= ShortNumbers ? ShortReference : LongReference) - 1;
  return DigitOf(area) + std::string(width - digits.size(), '0') + digits;
}

}  // namespace orvo::modbus
