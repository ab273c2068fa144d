// One item's values between client, device and group buffer, with the simulated panel as device. Properties:
// - the check of a client value takes what the item's type, size and sign say, and refuses everything else with
//   13, or 6 for what is too large; it changes nothing
// - what it hands on is the client's value: an integer as its 32 bits, the nearest single, a text as far as the
//   item goes, all bytes
// - what was written comes back from the device as it was given: integers of every size and sign, bits and
//   bytes, every single, texts as far as the item and its code page go, bytes; a BCD item is written as it is
//   and read as decimal digits
// - the same through the group's buffer; a word there stays positive, also when it is signed
// - what is put into a buffer lies most significant byte first at the item's place, and nowhere else
// - whatever the device brings, reading it gives a value or errInternal, the same twice
// - a value does not differ from itself; after a write it does, once
// - what is surely the same in a buffer has not changed there
#include "ForeseenCheck.h"
#include "Property.h"
#include "SureSameness.h"
#include "Targets.h"
#include "Values.h"
#include "errors/modIDataErrors.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "server/KELDataServer.h"
#include "simulated/PanelItem.h"
#include "simulated/SimulatedPanel.h"
#include "values/Text.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>

namespace orvo::fuzz {

namespace {

constexpr std::array ValueIdentifiers{"BI100.0",  "BI100.7",  "BI200.15",  "BY101",     "BY102",
                                      "WO100",    "WO65534",  "DW100",     "DW65532",   "FL100",
                                      "ST002001", "ST002002", "ST0020011", "ST0020032", "ST00100255",
                                      "RA031",    "RA0316",   "RA99256",   "RA0015"};
constexpr double BeyondWord = 65536.0;
constexpr double BeyondDoubleWord = 4294967296.0;

class ItemSite {
  // What the item stands on; ends after it.
  SimulatedPlatform platform_;
  MemoryFiles files_;
  DriverRegistry drivers_;
  std::shared_ptr<KELDataServer> server_;
  std::shared_ptr<KELDataGroup> group_;

 public:
  explicit ItemSite(const char* identifier) {
    files_.PutFile("drivers.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n1=PanelA\n");
    RegisterSimulatedPanel(drivers_);
    server_ = KELDataServer::Create({platform_, files_, drivers_});
    server_->SetDriverConfigurationFile("drivers.ini");
    server_->PutDeviceType(1);
    group_ = server_->KELDataGroups()->Add("Line");
    item = group_->KELDataItems()->Add(identifier);
    address = *PanelAddress::Decode(item->CompiledAddress());
  }
  void Resize(std::int32_t words) { group_->Items().ResizeItem(*item, words); }

  std::shared_ptr<KELDataItem> item;
  PanelAddress address;
  PanelMemory memory;
};

// Four decimal digits, each the rounded quotient's lowest four bits.
std::int32_t ExpectedBCD(std::int32_t value) {
  std::int32_t result = 0;
  for (int digit = 0; digit < 4; ++digit)
    result += static_cast<std::int32_t>(std::pow(10, digit)) *
              (static_cast<std::int32_t>(std::nearbyint(value / std::pow(16, digit))) & 15);
  return result;
}

// The client value of a text item that holds these bytes.
std::string ExpectedText(const KELDataItem& item, std::span<const std::uint8_t> bytes) {
  std::string text;
  for (std::size_t k = 0; k < bytes.size() && k <= static_cast<std::size_t>(item.DataSize()); ++k)
    if (bytes[k] > 0) text += DecodeWindows1252(bytes.subspan(k, 1));
  return text;
}

std::string About(const KELDataItem& item, const Variant& value) {
  return item.ItemId() + (item.Signed() ? " signed" : "") + (item.BCD() ? " BCD" : "") + " type " +
         std::to_string(item.ItemType()) + " words " + std::to_string(item.ItemWordLength()) + ": " +
         Shown(value);
}

// What the item reads once it holds `raw`; the same twice.
Variant Read(KELDataItem& item, Variant raw) {
  item.SetDATAValue(std::move(raw));
  Variant first;
  const std::int32_t number = NumberOf([&] { first = item.USERValue(); });
  Demand(number == 0 || number == errInternal, "a raw value that cannot be converted is errInternal",
         [&] { return About(item, item.DATAValue()); });
  const Variant held = item.DATAValue();
  Variant second;
  Demand(NumberOf([&] { second = item.USERValue(); }) == number,
         "a value fails to convert as often as it is asked for");
  Demand(first.Kind() == second.Kind() && (first == second || !(first == first)),
         "a value reads the same twice", [&] { return About(item, first) + " then " + Shown(second); });
  Demand(item.DATAValue() == held || !(held == held), "a value is decoded once");
  return first;
}

// What an integer item reads for the number that stands in its words.
double ExpectedClient(const KELDataItem& item, const PanelAddress& address, std::int32_t decoded) {
  double number = decoded;
  if (address.kind == PanelItemKind::Bit || address.kind == PanelItemKind::Byte)
    number = BitOrByteOfWord(address, static_cast<std::uint16_t>(decoded));
  if (number < 0 && !item.Signed()) return number + (item.DataSize() == 2 ? BeyondWord : BeyondDoubleWord);
  return item.BCD() ? ExpectedBCD(static_cast<std::int32_t>(number)) : number;
}

// Puts `raw` at the item's place in a buffer of ones and takes it out again.
Variant ThroughBuffer(KELDataItem& item, const Variant& raw, std::int32_t offset) {
  constexpr std::size_t Room = 600;
  constexpr std::uint8_t Mark = 0xA7;
  item.SetItemGroupBufferOffset(offset);
  std::vector<std::uint8_t> buffer(Room, Mark);
  item.StoreIntoBuffer(raw, buffer);
  const std::int64_t length =
      item.ItemType() == ItemTypeFloat ? 4 : 2 * std::int64_t{std::max(item.ItemWordLength(), 0)};
  for (std::size_t at = 0; at < Room; ++at) {
    const std::int64_t place = static_cast<std::int64_t>(at) - offset;
    const bool isInside = place >= 0 && place < length;
    std::uint8_t expected = Mark;
    if (isInside && item.ItemType() == ItemTypeInteger) {
      const std::int64_t shift = 8 * (length - 1 - place);
      const std::int64_t number = ToI4(raw);
      expected = static_cast<std::uint8_t>(shift > 56 ? (number < 0 ? 0xFF : 0) : number >> shift);
    } else if (isInside && item.ItemType() == ItemTypeFloat) {
      expected = static_cast<std::uint8_t>(std::bit_cast<std::uint32_t>(ToR4(raw)) >> (8 * (3 - place)));
    } else if (isInside && !raw.IsByteArray()) {
      expected = 0;
    } else if (isInside && place < static_cast<std::int64_t>(raw.Bytes().size())) {
      expected = raw.Bytes()[static_cast<std::size_t>(place)];
    }
    Demand(buffer[at] == expected, "a buffer has an item's bytes at its place, and no others", [&] {
      return About(item, raw) + " at byte " + std::to_string(at) + " of offset " + std::to_string(offset);
    });
  }
  DemandSureSameness(item, buffer);
  return item.ExtractFromBuffer(buffer);
}

void CheckIntegerWritten(ItemSite& site, std::int32_t number, const Variant& raw, std::int32_t offset) {
  KELDataItem& item = *site.item;
  Demand(ToI4(raw) == number, "an integer is written as it is", [&] { return About(item, raw); });
  WritePanelItem(site.memory, site.address, item.ItemWordLength(), raw);
  const Variant client = Read(item, ReadPanelItem(site.memory, site.address, item.ItemWordLength()));
  const std::int32_t size = item.DataSize();
  const double unsignedNumber = size == 4 ? static_cast<std::uint32_t>(number) : number;
  double expected = item.Signed() ? number : unsignedNumber;
  // What is not negative on the device is digits.
  if (item.BCD() && !(size == 2 && number > 32767) && !(size == 4 && number < 0))
    expected = ExpectedBCD(number);
  Demand(ToR8(client) == expected, "an integer comes back from the device as it was written",
         [&] { return About(item, client) + " instead of " + std::to_string(expected); });

  const Variant written = Read(item, raw);
  const double kept = item.BCD() && number >= 0 ? ExpectedBCD(number) : item.Signed() ? number : unsignedNumber;
  Demand(ToR8(written) == kept, "an integer reads as it was written", [&] { return About(item, written); });

  const Variant extracted = ThroughBuffer(item, raw, offset);
  if (offset < 0 || offset > 500) return;
  const double place = size == 2 ? static_cast<std::uint16_t>(number) : number;
  Demand(extracted.Is(VariantKind::R8) && extracted.Get<double>() == place,
         "an integer comes back from the buffer",
         [&] { return About(item, extracted) + " instead of " + std::to_string(place); });
  const double buffered = place < 0 && !item.Signed() ? place + BeyondDoubleWord
                          : item.BCD()                ? ExpectedBCD(static_cast<std::int32_t>(place))
                                                      : place;
  const Variant read = Read(item, extracted);
  Demand(ToR8(read) == buffered, "an integer reads from the buffer as it was written",
         [&] { return About(item, read) + " instead of " + std::to_string(buffered); });
}

void CheckSingleWritten(ItemSite& site, const Variant& checked, const Variant& raw, std::int32_t offset) {
  KELDataItem& item = *site.item;
  const auto number = checked.Get<float>();
  if (item.BCD()) {
    Demand(raw.Is(VariantKind::I4) && raw.Get<std::int32_t>() == std::nearbyint(double{number}),
           "digits of a single are written as the nearest integer", [&] { return About(item, raw); });
    return;
  }
  const std::int32_t refused = NumberOf([&] { WritePanelItem(site.memory, site.address, 2, raw); });
  Demand(refused == 0, "the panel takes every single",
         [&] { return About(item, raw) + " gives " + std::to_string(refused); });
  const Variant client = Read(item, ReadPanelItem(site.memory, site.address, 2));
  Demand(client.Is(VariantKind::R4) && IsSameSingle(client.Get<float>(), number),
         "a single comes back from the device as it was written", [&] { return About(item, client); });
  const Variant extracted = ThroughBuffer(item, raw, offset);
  if (offset >= 0 && offset <= 500)
    Demand(IsSameSingle(extracted.Get<float>(), number), "a single comes back from the buffer",
           [&] { return About(item, extracted); });
}

void CheckBytesWritten(ItemSite& site, const Variant& checked, const Variant& raw, std::int32_t offset) {
  KELDataItem& item = *site.item;
  const auto room = 2 * static_cast<std::size_t>(item.ItemWordLength());
  const Variant sent = raw.IsByteArray() ? raw : Variant::OfBytes(std::vector<std::uint8_t>(room));
  WritePanelItem(site.memory, site.address, item.ItemWordLength(), raw);
  const Variant read = ReadPanelItem(site.memory, site.address, item.ItemWordLength());
  Demand(read.Bytes().size() == room && sent.Bytes().size() <= room &&
             std::equal(sent.Bytes().begin(), sent.Bytes().end(), read.Bytes().begin()),
         "bytes come back from the device as they were written", [&] { return About(item, raw); });
  const Variant client = Read(item, read);
  if (item.ItemType() == ItemTypeString) {
    Demand(sent.Bytes().size() == room, "a text fills its item", [&] { return About(item, raw); });
    Demand(client.Text() == ExpectedText(item, sent.Bytes()), "a text comes back as far as its item goes",
           [&] { return About(item, client); });
    std::vector<std::uint8_t> padded(room);
    if (!checked.IsEmpty() && !checked.IsNull()) {
      padded = checked.IsByteArray() ? std::vector<std::uint8_t>(checked.Bytes().begin(), checked.Bytes().end())
                                     : EncodeWindows1252(checked.Text());
      padded.resize(room, ' ');
    }
    Demand(std::equal(padded.begin(), padded.end(), sent.Bytes().begin()), "a text is filled up with blanks",
           [&] { return About(item, raw); });
  } else {
    Demand(raw == checked, "raw bytes are sent as they were handed on", [&] { return About(item, raw); });
    Demand(client == read, "raw bytes are the client's as they are", [&] { return About(item, client); });
  }
  ThroughBuffer(item, raw, offset);
}

void CheckWrite(ItemSite& site, const Variant& value, bool compiledFacts, std::int32_t offset) {
  KELDataItem& item = *site.item;
  const Variant held = item.DATAValue();
  Variant checked;
  Variant raw;
  const std::int32_t number = NumberOf([&] { checked = item.CheckClientValue(value); });
  Demand(item.DATAValue() == held || !(held == held), "the check of a value changes nothing");
  const ForeseenCheck foreseen = Foresee(item, value);
  Demand(number == foreseen.refusal, "an item takes what its type, size and sign allow", [&] {
    return About(item, value) + " gives " + std::to_string(number) + " instead of " +
           std::to_string(foreseen.refusal);
  });
  if (number != 0) return;
  Demand(IsHandedOnAs(checked, foreseen.value), "what is handed on is the client's value",
         [&] { return About(item, checked) + " instead of " + Shown(foreseen.value); });
  if (const std::int32_t failed = NumberOf([&] { raw = item.RawValue(checked); }); failed != 0) {
    Demand(item.BCD() && item.ItemType() != ItemTypeInteger, "only digits of what is no integer fail later",
           [&] { return About(item, checked) + " fails with " + std::to_string(failed); });
    return;
  }
  if (!compiledFacts) return;
  if (item.ItemType() == ItemTypeInteger)
    CheckIntegerWritten(site, checked.Get<std::int32_t>(), raw, offset);
  else if (item.ItemType() == ItemTypeFloat)
    CheckSingleWritten(site, checked, raw, offset);
  else if (!item.BCD() || item.ItemType() == ItemTypeString)
    CheckBytesWritten(site, checked, raw, offset);
}

void CheckRead(ItemSite& site, std::span<const std::uint8_t> bytes, bool compiledFacts) {
  KELDataItem& item = *site.item;
  const Variant client = Read(item, Variant::OfBytes(bytes));
  if (!compiledFacts) return;
  const std::size_t length = 2 * static_cast<std::size_t>(item.ItemWordLength());
  if (item.ItemType() == ItemTypeInteger && bytes.size() >= length) {
    std::uint32_t number = 0;
    for (std::size_t k = 0; k < length; ++k)
      number |= std::uint32_t{bytes[k]} << (8 * k);
    const auto decoded = length == 2 ? static_cast<std::int16_t>(number) : static_cast<std::int32_t>(number);
    Demand(ToR8(client) == ExpectedClient(item, site.address, decoded),
           "an integer reads as its bytes, sign and digits say",
           [&] { return About(item, client) + " of " + std::to_string(decoded); });
  } else if (item.ItemType() == ItemTypeString) {
    Demand(client.Text() == ExpectedText(item, bytes), "a text reads as its bytes say",
           [&] { return About(item, client); });
  }
}

void CheckChange(KELDataItem& item, const Variant& raw) {
  item.SetDATAValue(raw);
  item.SetWriteDone(false);
  const bool differsFromItself =
      !(raw == raw) || (raw.IsArray() && !raw.IsByteArray()) || raw.Is(VariantKind::Error) || raw.IsNull();
  if (!differsFromItself)
    Demand(!item.TakeChange(raw), "a value does not differ from itself", [&] { return About(item, raw); });
  item.StoreWritten(raw, Date{1});
  Demand(!item.TakeChange({}) && item.WriteDone(), "what was not read is no change");
  Demand(raw.IsEmpty() || (item.TakeChange(raw) && !item.WriteDone()), "after a write a value differs once");
}

}  // namespace

void ItemValues(InputReader& input) {
  ItemSite site(ValueIdentifiers[input.Below(ValueIdentifiers.size())]);
  KELDataItem& item = *site.item;
  const std::uint8_t options = input.Byte();
  if ((options & 1) != 0) item.PutSigned(true);
  if ((options & 2) != 0) item.PutBCD(true);
  const bool compiledFacts = (options & 0x0C) != 0x0C;
  if (!compiledFacts) {
    item.SetItemType(static_cast<std::int32_t>(input.Below(6)) - 1);
    site.Resize(static_cast<std::int32_t>(input.Below(70)) - 1);
  }
  for (int step = 0; step < 8 && !input.AtEnd(); ++step) {
    switch (input.Below(4)) {
      case 0:
        CheckRead(site, input.Bytes(input.Below(40)), compiledFacts);
        break;
      case 1: {
        const Variant raw = TakeValue(input);
        Read(item, raw);
        CheckChange(item, raw);
        break;
      }
      default: {
        const auto offset = static_cast<std::int32_t>(input.Byte()) * 3 - 60;
        CheckWrite(site, TakeValue(input), compiledFacts, offset);
      }
    }
  }
}

}  // namespace orvo::fuzz
