#include "modbus/IdentityReader.h"

#include "modbus/RtuFrame.h"

#include <cstddef>
#include <string>
#include <utility>

namespace orvo::modbus {

namespace {

constexpr std::uint8_t ReadDeviceIdentification = 14;
constexpr std::uint8_t BasicIdentification = 1;
constexpr std::uint8_t MoreFollows = 0xFF;

enum Place : std::uint8_t { Interface = 1, Category = 2, Following = 4, Next = 5, Objects = 7 };
enum ObjectId : std::uint8_t { VendorName = 0, ProductCode = 1, Revision = 2 };

// What is shown to people: printable ASCII, without blanks at both ends.
std::string Printable(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes)
    if (byte >= 0x20 && byte < 0x7F) text += static_cast<char>(byte);
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

std::array<std::uint8_t, 4> IdentityReader::Request() const noexcept {
  return {EncapsulatedInterface, ReadDeviceIdentification, BasicIdentification, next_};
}

IdentityReader::Step IdentityReader::Take(std::span<const std::uint8_t> pdu) {
  if (pdu.size() == 2 && pdu[0] == (EncapsulatedInterface | ExceptionFlag) && pdu[1] != 0) {
    exception_ = pdu[1];
    return Step::Refused;
  }
  const auto length = AnswerLength(pdu);
  if (!length || *length != pdu.size() || pdu[0] != EncapsulatedInterface ||
      pdu[Interface] != ReadDeviceIdentification || pdu[Category] != BasicIdentification)
    return Step::Wrong;

  for (std::size_t at = Objects; at < pdu.size(); at += std::size_t{2} + pdu[at + 1]) {
    std::string text = Printable(pdu.subspan(at + 2, pdu[at + 1]));
    switch (pdu[at]) {
      case VendorName:
        result_.vendor = std::move(text);
        break;
      case ProductCode:
        result_.product = std::move(text);
        break;
      case Revision:
        result_.revision = std::move(text);
        break;
      default:
        break;
    }
  }
  if (pdu[Following] != MoreFollows) return Step::Complete;
  // Objects come in the order of their numbers: one that does not lead on would be asked for without end.
  if (pdu[Next] <= next_) return Step::Wrong;
  next_ = pdu[Next];
  return next_ > Revision ? Step::Complete : Step::More;
}

}  // namespace orvo::modbus
