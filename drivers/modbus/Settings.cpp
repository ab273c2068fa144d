#include "modbus/Settings.h"

#include "modbus/Complaint.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <set>

namespace orvo::modbus {

namespace {

constexpr std::string_view TcpExample = "tcp://127.0.0.1:502?unit=1";
constexpr std::string_view RtuExample = "rtu:///dev/ttyS0?baud=19200&unit=3";

constexpr std::array<std::int32_t, 10> BaudRates{300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};

std::string QuotedPart(std::string_view part) {
  return "'" + std::string(part) + "'";
}

// One word of several, each of which stands for a value.
template <class Value, std::size_t Count>
using Choices = std::array<std::pair<std::string_view, Value>, Count>;

template <class Value, std::size_t Count>
Value Choose(const std::string& what, std::string_view word, const Choices<Value, Count>& choices,
             const Complaint& complaint) {
  std::string names;
  for (const auto& [name, value] : choices) {
    if (name == word) return value;
    names.append(names.empty() ? "" : ", ").append(name);
  }
  if (word.empty()) complaint.Raise(what + " is missing");
  complaint.Raise(what + " " + QuotedPart(word) + " is none of " + names);
}

bool IsIPv4(std::string_view host) {
  in_addr ignored{};
  return inet_pton(AF_INET, std::string(host).c_str(), &ignored) == 1;
}
bool IsIPv6(std::string_view host) {
  in6_addr ignored{};
  return inet_pton(AF_INET6, std::string(host).c_str(), &ignored) == 1;
}

using OptionReader = void (*)(Settings& settings, std::string_view value, const Complaint& complaint);

struct OptionRow {
  std::string_view name;
  bool rtuOnly;
  std::string_view example;
  OptionReader read;
};

constexpr std::int32_t MostUnit = 247;
constexpr std::int32_t WholeGateway = 255;  // on TCP: the device itself, behind no line

void ReadUnit(Settings& settings, std::string_view value, const Complaint& complaint) {
  if (settings.transport == Transport::Rtu) {
    settings.unit = complaint.Number("the unit", value, 3, 1, MostUnit);
    return;
  }
  settings.unit = complaint.Number("the unit", value, 3, 0, WholeGateway);
  if (settings.unit > MostUnit && settings.unit < WholeGateway)
    complaint.Raise("the unit " + std::to_string(settings.unit) +
                    " is reserved, only 0..247 and 255 are taken");
}

void ReadTimeout(Settings& settings, std::string_view value, const Complaint& complaint) {
  settings.timeout = std::chrono::milliseconds(complaint.Number("the timeout", value, 5, 1, INT16_MAX));
}

void ReadOrder(Settings& settings, std::string_view value, const Complaint& complaint) {
  constexpr Choices<LongOrder, 4> orders{{{"abcd", LongOrder::abcd},
                                          {"cdab", LongOrder::cdab},
                                          {"badc", LongOrder::badc},
                                          {"dcba", LongOrder::dcba}}};
  settings.longs = Choose("the order", value, orders, complaint);
}

constexpr Choices<PairOrder, 2> PairOrders{{{"ab", PairOrder::ab}, {"ba", PairOrder::ba}}};

void ReadWords(Settings& settings, std::string_view value, const Complaint& complaint) {
  settings.words = Choose("the order of words", value, PairOrders, complaint);
}

void ReadText(Settings& settings, std::string_view value, const Complaint& complaint) {
  settings.text = Choose("the order of text", value, PairOrders, complaint);
}

void ReadGap(Settings& settings, std::string_view value, const Complaint& complaint) {
  settings.gap = complaint.Number("the gap", value, 3, 0, MostRegistersRead - 1);
}

void ReadBitWriting(Settings& settings, std::string_view value, const Complaint& complaint) {
  constexpr Choices<BitWriting, 2> ways{{{"auto", BitWriting::Auto}, {"mask", BitWriting::Mask}}};
  settings.bits = Choose("the way of bits", value, ways, complaint);
}

void ReadIdentify(Settings& settings, std::string_view value, const Complaint& complaint) {
  constexpr Choices<bool, 2> answers{{{"yes", true}, {"no", false}}};
  settings.identify = Choose("the word for identification", value, answers, complaint);
}

void ReadHold(Settings& settings, std::string_view value, const Complaint& complaint) {
  settings.hold = std::chrono::milliseconds(complaint.Number("the hold", value, 5, 100, 60'000));
}

void ReadBaud(Settings& settings, std::string_view value, const Complaint& complaint) {
  const std::int32_t baud = complaint.Number("the baud rate", value, 6, 0, 999'999);
  if (!IsBaudRate(baud)) {
    std::string rates;
    for (const std::int32_t rate : BaudRates)
      rates.append(rates.empty() ? "" : ", ").append(std::to_string(rate));
    complaint.Raise("the baud rate " + std::to_string(baud) + " is none of " + rates);
  }
  settings.baud = baud;
}

void ReadParity(Settings& settings, std::string_view value, const Complaint& complaint) {
  constexpr Choices<Parity, 3> parities{{{"none", Parity::None}, {"even", Parity::Even}, {"odd", Parity::Odd}}};
  settings.parity = Choose("the parity", value, parities, complaint);
}

void ReadDataBits(Settings& settings, std::string_view value, const Complaint& complaint) {
  settings.dataBits = complaint.Number("the number of data bits", value, 1, 7, 8);
  if (settings.dataBits == 7) complaint.Raise("7 data bits cannot carry the bytes of RTU, which have 8");
}

void ReadStopBits(Settings& settings, std::string_view value, const Complaint& complaint) {
  settings.stopBits = complaint.Number("the number of stop bits", value, 1, 1, 2);
}

constexpr std::array<OptionRow, 13> OptionRows{{
    {"unit", false, "unit=1", ReadUnit},
    {"timeout", false, "timeout=1000", ReadTimeout},
    {"order", false, "order=abcd", ReadOrder},
    {"words", false, "words=ab", ReadWords},
    {"text", false, "text=ab", ReadText},
    {"gap", false, "gap=16", ReadGap},
    {"bits", false, "bits=auto", ReadBitWriting},
    {"identify", false, "identify=yes", ReadIdentify},
    {"baud", true, "baud=19200", ReadBaud},
    {"parity", true, "parity=even", ReadParity},
    {"data", true, "data=8", ReadDataBits},
    {"stop", true, "stop=1", ReadStopBits},
    {"hold", true, "hold=5000", ReadHold},
}};
constexpr std::string_view BlockName = "block";

// Reads one connection text from left to right.
class ConnectionReader {
 public:
  explicit ConnectionReader(std::string_view connection)
      : connection_(connection), complaint_("Connection", connection) {}

  Settings Parse() {
    complaint_.PutExample(std::string(TcpExample).append(" or ").append(RtuExample));
    RequirePlainCharacters();
    const std::size_t mark = connection_.find('?');
    const std::string_view place = connection_.substr(0, mark);
    ReadPlace(place);
    if (mark != std::string_view::npos) ReadOptions(connection_.substr(mark + 1));
    if (settings_.parity == Parity::None && !seen_.contains("stop")) settings_.stopBits = 2;
    return std::move(settings_);
  }

 private:
  void RequirePlainCharacters() const {
    if (connection_.empty()) complaint_.Raise("it is empty");
    for (const char c : connection_) {
      if (c == ' ') complaint_.Raise("it has a blank, which has no place in it");
      if ((c >= 0 && c < ' ') || c == '\x7F')
        complaint_.Raise("it has a control character, which has no place in it");
      if (c == '%')
        complaint_.Raise("it has a '%', but nothing in it is percent-encoded, and an address has no zone");
    }
  }

  // What stands before the options.
  void ReadPlace(std::string_view place) {
    const std::size_t colon = place.find(':');
    const std::string_view scheme = place.substr(0, colon);
    if (scheme != "tcp" && scheme != "rtu") RefuseScheme(scheme);
    settings_.transport = scheme == "tcp" ? Transport::Tcp : Transport::Rtu;
    complaint_.PutExample(scheme == "tcp" ? TcpExample : RtuExample);
    if (colon == std::string_view::npos) complaint_.Raise("a ':' is missing behind " + QuotedPart(scheme));
    place.remove_prefix(colon + 1);
    const bool slashes = place.starts_with("//");
    if (slashes) place.remove_prefix(2);
    if (settings_.transport == Transport::Rtu) {
      ReadDevice(place);
    } else {
      if (!slashes) complaint_.Raise("'//' is missing behind 'tcp:'");
      ReadTcpAddress(place);
    }
  }
  [[noreturn]] void RefuseScheme(std::string_view scheme) const {
    for (const std::string_view known : {"tcp", "rtu"})
      if (std::equal(scheme.begin(), scheme.end(), known.begin(), known.end(),
                     [](char a, char b) { return a == b || a == b - 'a' + 'A'; }))
        complaint_.Raise(QuotedPart(scheme) + " must be written " + std::string(known));
    complaint_.Raise("it begins with neither tcp:// nor rtu:");
  }

  void ReadDevice(std::string_view device) {
    if (!device.empty() && (!device.starts_with('/') || device.ends_with('/')))
      complaint_.Raise("the device " + QuotedPart(device) + " is no absolute path of a device");
    settings_.device = device;
  }

  void ReadTcpAddress(std::string_view address) {
    if (IsIPv6(address)) {
      complaint_.PutExample("tcp://[" + std::string(address) + "]");
      complaint_.Raise("an IPv6 address stands in brackets");
    }
    if (address.empty() || address.starts_with(':') || address.starts_with('/'))
      complaint_.Raise("the host is missing");
    const std::string_view rest = address.starts_with('[') ? ReadBracketed(address) : ReadPlain(address);
    if (rest.empty()) return;
    if (!rest.starts_with(':')) complaint_.Raise(QuotedPart(rest) + " behind the host is too much");
    settings_.port = complaint_.Number("the port", rest.substr(1), 5, 1, 65535);
  }
  // Both answer what stands behind the host.
  std::string_view ReadBracketed(std::string_view address) {
    const std::size_t end = address.find(']');
    if (end == std::string_view::npos) complaint_.Raise("the ']' behind the IPv6 address is missing");
    settings_.host = address.substr(1, end - 1);
    if (!IsIPv6(settings_.host))
      complaint_.Raise(QuotedPart(settings_.host) + " in brackets is no IPv6 address");
    return address.substr(end + 1);
  }
  std::string_view ReadPlain(std::string_view address) {
    const std::size_t end = address.find_first_of(":/");
    settings_.host = address.substr(0, end);
    if (settings_.host != "localhost" && !IsIPv4(settings_.host))
      complaint_.Raise("the host " + QuotedPart(settings_.host) +
                       " is no IPv4 address, no IPv6 address in brackets and not localhost (names are not "
                       "looked up)");
    return end == std::string_view::npos ? std::string_view() : address.substr(end);
  }

  void ReadOptions(std::string_view options) {
    while (true) {
      const std::size_t end = options.find('&');
      ReadOption(options.substr(0, end));
      if (end == std::string_view::npos) return;
      options.remove_prefix(end + 1);
    }
  }
  void ReadOption(std::string_view option) {
    if (option.empty()) complaint_.Raise("an option is empty");
    const std::size_t equals = option.find('=');
    const std::string_view name = option.substr(0, equals);
    if (name.empty()) complaint_.Raise("the option " + QuotedPart(option) + " has no name");
    const auto* const row = std::find_if(OptionRows.begin(), OptionRows.end(),
                                         [&](const OptionRow& each) { return each.name == name; });
    const bool block = name.starts_with(BlockName);
    if (row == OptionRows.end() && !block) RefuseName(name);
    complaint_.PutExample(block ? "block03=40100" : row->example);
    if (!block && row->rtuOnly && settings_.transport != Transport::Rtu) {
      complaint_.PutExample(RtuExample);
      complaint_.Raise("the option " + std::string(name) + " is for rtu only");
    }
    if (equals == std::string_view::npos)
      complaint_.Raise("the option " + std::string(name) + " has no '=' and no value");
    if (!seen_.insert(name).second) complaint_.Raise("the option " + std::string(name) + " stands twice");
    const std::string_view value = option.substr(equals + 1);
    if (block)
      ReadBlock(name, value);
    else
      row->read(settings_, value, complaint_);
  }
  [[noreturn]] void RefuseName(std::string_view name) {
    std::string names;
    for (const OptionRow& row : OptionRows)
      if (!row.rtuOnly || settings_.transport == Transport::Rtu) names.append(row.name).append(", ");
    complaint_.PutExample(settings_.transport == Transport::Rtu ? RtuExample : TcpExample);
    complaint_.Raise("there is no option " + QuotedPart(name) + ", only " + names + "block00..block99");
  }
  void ReadBlock(std::string_view name, std::string_view value) {
    const std::string_view number = name.substr(BlockName.size());
    if (number.size() != 2 || !IsDigits(number))
      complaint_.Raise("the option " + std::string(name) + " needs 2 digits behind 'block'");
    const Reference start = Reference::Parse(value, complaint_);
    if (HoldsBits(start.area))
      complaint_.Raise("the reference " + QuotedPart(value) + " names a " + std::string(NameOf(start.area)) +
                       ", a raw block begins with a register");
    settings_.blocks.emplace(10 * (number[0] - '0') + (number[1] - '0'), start);
  }

  std::string_view connection_;
  Complaint complaint_;
  Settings settings_;
  std::set<std::string_view> seen_;
};

}  // namespace

Settings Settings::Parse(std::string_view connection) {
  return ConnectionReader(connection).Parse();
}

bool IsBaudRate(std::int32_t baud) noexcept {
  return std::find(BaudRates.begin(), BaudRates.end(), baud) != BaudRates.end();
}

}  // namespace orvo::modbus
