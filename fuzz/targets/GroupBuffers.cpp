// A whole group's bytes on their way to and from the device. Properties:
// - a write puts each item's bytes at its place in a copy of the group's image, later items over earlier ones,
//   and changes no other byte; the group's own image stays
// - a write with a value that its item refuses sends nothing and names the position
// - a read gives each item what stands at its place, and every handle and error beside it
// - an item that is surely the same in an image has not changed there, whatever it held before
// - compiled addresses and lengths stand at the numbers of the handles that were asked for, 0 for unknown ones
// - the group's length is the sum of its items', whatever was added, resized and removed
#include "Property.h"
#include "SureSameness.h"
#include "Targets.h"
#include "Values.h"
#include "errors/modIDataErrors.h"
#include "support/AnsweringDevice.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace orvo::fuzz {

namespace {

constexpr std::array GroupIdentifiers{"BI0",      "BY1",       "WO2",   "DW3",   "FL4",
                                      "ST000004", "ST0000013", "RA004", "RA0012"};
constexpr std::size_t MostItems = 10;

struct Place {
  std::shared_ptr<KELDataItem> item;
  std::int64_t offset;
  std::int64_t length;  // in bytes
};

class GroupSite {
  // What the group stands on; ends after it.
  testing::AnsweringDevice device_;
  testing::Plant plant_;
  std::size_t size_ = 0;

 public:
  explicit GroupSite(InputReader& input) {
    plant_.driver->groupTransfer = true;
    plant_.Configure();
    device_.Serve(plant_);
    group = plant_.server->KELDataGroups()->Add("Line");
    size_ = input.Below(120);
    group->SetCompiledBufferDimension(static_cast<std::int32_t>(size_));
    const std::size_t count = 1 + input.Below(MostItems);
    const bool packed = input.Flag();
    std::int64_t next = 0;
    for (std::size_t k = 0; k < count; ++k) {
      const std::shared_ptr<KELDataItem> item =
          group->KELDataItems()->Add(GroupIdentifiers[input.Below(GroupIdentifiers.size())]);
      if (input.Below(8) == 7) group->Items().ResizeItem(*item, static_cast<std::int32_t>(input.Below(12)) - 1);
      const std::size_t gap = input.Byte();
      const std::int64_t offset =
          packed ? next + static_cast<std::int64_t>(gap % 4) : static_cast<std::int64_t>(gap) - 40;
      const std::int64_t length =
          item->ItemType() == ItemTypeFloat ? 4 : 2 * std::int64_t{std::max(item->ItemWordLength(), 0)};
      item->SetItemGroupBufferOffset(static_cast<std::int32_t>(offset));
      const std::uint8_t options = input.Byte();
      if ((options & 1) != 0) item->PutSigned(true);
      places.push_back({item, offset, length});
      next = offset + length;
    }
    plant_.server->OpenCommunication();
  }

  void CheckWrite(InputReader& input);
  void CheckRead(InputReader& input);
  void CheckDescriptors(InputReader& input);
  void CheckLength();

  std::shared_ptr<KELDataGroup> group;
  std::vector<Place> places;

 private:
  static std::uint8_t ByteOf(const Place& place, const Variant& raw, std::int64_t at, std::uint8_t before);
  Variant ValueOf(const Place& place, const std::vector<std::uint8_t>& image) const;
};

// The byte at `at` of an item that holds `raw`.
std::uint8_t GroupSite::ByteOf(const Place& place, const Variant& raw, std::int64_t at, std::uint8_t before) {
  switch (place.item->ItemType()) {
    case ItemTypeInteger: {
      const std::int64_t number = ToI4(raw);
      return static_cast<std::uint8_t>(number >> std::min<std::int64_t>(63, 8 * (place.length - 1 - at)));
    }
    case ItemTypeFloat:
      return static_cast<std::uint8_t>(std::bit_cast<std::uint32_t>(ToR4(raw)) >> (8 * (3 - at)));
    default:
      if (!raw.IsByteArray()) return 0;
      return at < static_cast<std::int64_t>(raw.Bytes().size()) ? raw.Bytes()[static_cast<std::size_t>(at)]
                                                                : before;
  }
}

void GroupSite::CheckWrite(InputReader& input) {
  std::vector<std::int32_t> handles;
  std::vector<Variant> values;
  const SafeArray<std::uint8_t> own = group->CompiledBuffer();
  std::vector<std::uint8_t> expected(own.View().begin(), own.View().end());
  std::optional<std::size_t> refused;
  const std::size_t count = 1 + input.Below(places.size());
  for (std::size_t k = 0; k < count; ++k) {
    const Place& place = places[input.Below(places.size())];
    Variant value = TakeValue(input);
    handles.push_back(place.item->Handle());
    Variant raw;
    if (FailureOf([&] { raw = place.item->RawValue(place.item->CheckClientValue(value)); })) {
      if (!refused) refused = k;
    } else if (!refused) {
      for (std::int64_t at = 0; at < place.length; ++at) {
        const std::int64_t position = place.offset + at;
        if (position < 0 || position >= static_cast<std::int64_t>(expected.size())) continue;
        std::uint8_t& byte = expected[static_cast<std::size_t>(position)];
        byte = ByteOf(place, raw, at, byte);
      }
    }
    values.push_back(std::move(value));
  }
  const std::size_t calls = plant_.driver->log.size();
  const std::int32_t lower = static_cast<std::int32_t>(input.Below(3)) - 1;
  SafeArray<std::int32_t> errors;
  const std::optional<AutomationError> failure = FailureOf([&] {
    group->SyncWriteAll(SafeArray<std::int32_t>(handles, lower), SafeArray<Variant>(values), errors);
  });
  Demand(group->CompiledBuffer() == own, "a write leaves the group's own image");
  if (refused) {
    const std::string position = "index=" + std::to_string(lower + static_cast<std::int64_t>(*refused));
    Demand(failure && failure->Number() == errInvalidFormat && failure->Description().ends_with(position),
           "a value that is refused is named by its position",
           [&] { return failure ? failure->Description() : "written"; });
    Demand(plant_.driver->log.size() == calls, "a write with a refused value sends nothing");
    return;
  }
  Demand(!failure, "a write of good values is sent", [&] { return failure->Description(); });
  const auto sent = plant_.driver->lastBuffer.View();
  Demand(std::equal(sent.begin(), sent.end(), expected.begin(), expected.end()),
         "a group's image has each item's bytes at its place, and no others", [&] {
           std::string text;
           for (std::size_t k = 0; k < std::min(sent.size(), expected.size()); ++k)
             if (sent[k] != expected[k]) text += "byte " + std::to_string(k) + " ";
           return text;
         });
  Demand(errors.Size() == handles.size() && errors.LowerBound() == lower,
         "errors have the bounds of the handles");
  for (const std::int32_t error : errors.View())
    Demand(error == 0, "a write that the device took has no errors");
}

Variant GroupSite::ValueOf(const Place& place, const std::vector<std::uint8_t>& image) const {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(place.length));
  for (std::int64_t at = 0; at < place.length; ++at) {
    const std::int64_t position = place.offset + at;
    if (position >= 0 && position < static_cast<std::int64_t>(image.size()))
      bytes[static_cast<std::size_t>(at)] = image[static_cast<std::size_t>(position)];
  }
  if (place.item->ItemType() == ItemTypeString || place.item->ItemType() == ItemTypeRaw)
    return Variant::OfBytes(bytes);
  std::uint64_t number = 0;
  for (const std::uint8_t byte : bytes)
    number = number << 8 | byte;
  const auto word = static_cast<std::uint32_t>(number);
  if (place.item->ItemType() == ItemTypeFloat) return std::bit_cast<float>(word);
  return static_cast<double>(static_cast<std::int32_t>(word));
}

void GroupSite::CheckRead(InputReader& input) {
  const auto image = input.Bytes(input.Below(130));
  device_.image.assign(image.begin(), image.end());
  device_.groupError = input.Below(5) == 4 ? 1 + static_cast<std::int32_t>(input.Below(10)) : 0;
  std::vector<Variant> before;
  for (const Place& place : places) {
    DemandSureSameness(*place.item, image);
    before.push_back(place.item->DATAValue());
  }
  SafeArray<std::int32_t> handles;
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncReadAll(handles, values, errors);
  Demand(handles.Size() == places.size() && values.Size() == places.size() && errors.Size() == places.size(),
         "a read brings each item");
  for (std::size_t k = 0; k < places.size(); ++k) {
    const Variant& held = places[k].item->DATAValue();
    if (device_.groupError != 0) {
      Demand(errors.View()[k] == device_.groupError && values.View()[k].IsEmpty() && handles.View()[k] == 0 &&
                 (held == before[k] || !(held == held)),
             "a read that failed has its error everywhere and changes nothing");
      continue;
    }
    const Variant expected = ValueOf(places[k], device_.image);
    Demand(handles.View()[k] == places[k].item->Handle(), "a read brings the handles in the items' order");
    Demand(held == expected || (held.Is(VariantKind::R4) && std::isnan(held.Get<float>())),
           "an item has what stands at its place",
           [&] { return Shown(held) + " instead of " + Shown(expected); });
    Demand(errors.View()[k] == 0 || values.View()[k].IsEmpty(), "beside an error there is no value");
  }
  device_.groupError = 0;
  for (const Place& place : places)
    DemandSureSameness(*place.item, image);
}

void GroupSite::CheckDescriptors(InputReader& input) {
  std::vector<std::int32_t> handles(input.Below(14));
  for (std::int32_t& handle : handles)
    handle = static_cast<std::int32_t>(input.Below(MostItems + 4)) - 1;
  const std::int32_t lower = static_cast<std::int32_t>(input.Below(5));
  const SafeArray<std::int32_t> asked(handles, lower);
  const SafeArray<double> addresses = group->CompileVariable(asked);
  const SafeArray<std::int16_t> lengths = group->GetDimension(asked);
  Demand(addresses.LowerBound() == 0 && addresses.UpperBound() == asked.UpperBound() &&
             lengths.LowerBound() == 0 && lengths.UpperBound() == asked.UpperBound(),
         "descriptors go from 0 to the last number of the handles");
  for (std::int32_t index = 0; index <= asked.UpperBound(); ++index) {
    const std::int32_t handle = index < lower ? 0 : asked.At(index);
    const bool known = handle >= 1 && handle <= static_cast<std::int32_t>(places.size());
    const KELDataItem* item = known ? places[static_cast<std::size_t>(handle) - 1].item.get() : nullptr;
    Demand(addresses.At(index) == (known ? item->CompiledAddress() : 0) &&
               lengths.At(index) == (known ? item->ItemWordLength() : 0),
           "a descriptor stands at its handle's number, 0 for an unknown one", std::to_string(index));
  }
}

void GroupSite::CheckLength() {
  std::int64_t words = 0;
  for (const Place& place : places)
    words += place.item->ItemWordLength();
  Demand(group->Items().TotalWordLength() == words, "the group's length is the sum of its items'");
  plant_.server->CloseCommunication();
  group->KELDataItems()->Remove(places.front().item->Handle());
  words -= places.front().item->ItemWordLength();
  group->Items().ResizeItem(*places.front().item, 9);
  Demand(group->Items().TotalWordLength() == words, "an item that was removed no longer counts");
}

}  // namespace

void GroupBuffers(InputReader& input) {
  GroupSite site(input);
  for (int step = 0; step < 6 && !input.AtEnd(); ++step) {
    switch (input.Below(3)) {
      case 0:
        site.CheckWrite(input);
        break;
      case 1:
        site.CheckRead(input);
        break;
      default:
        site.CheckDescriptors(input);
    }
  }
  site.CheckLength();
}

}  // namespace orvo::fuzz
