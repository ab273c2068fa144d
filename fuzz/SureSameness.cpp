#include "SureSameness.h"

#include "Property.h"
#include "Values.h"

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace orvo::fuzz {

namespace {

using SeenBytes = std::span<const std::uint8_t>;

std::string SeenIn(const KELDataItem& item, SeenBytes image) {
  return item.ItemId() + " type " + std::to_string(item.ItemType()) + " words " +
         std::to_string(item.ItemWordLength()) + " at " + std::to_string(item.ItemGroupBufferOffset()) +
         " of " + std::to_string(image.size()) + " bytes holds " + Shown(item.DATAValue()) +
         ", and there stands " + Shown(item.ExtractFromBuffer(image));
}

void DemandSureIsSame(KELDataItem& item, SeenBytes image) {
  const bool written = item.WriteDone();
  const bool sure = item.IsSurelySameIn(image);
  const bool changed = item.TakeChange(item.ExtractFromBuffer(image));
  Demand(!sure || !changed, "what is surely the same has not changed", [&] { return SeenIn(item, image); });
  item.SetWriteDone(written);
}

// What stands at an item's place is surely the same, unless it is longer than a number or compares with
// nothing.
void DemandSameIsSure(KELDataItem& item, SeenBytes image, const Variant& held) {
  const std::int64_t length = 2 * std::int64_t{item.ItemWordLength()};
  const std::int64_t end = item.ItemGroupBufferOffset() + length;
  const bool isInside = length > 0 && item.ItemGroupBufferOffset() >= 0 && end <= std::ssize(image);
  if (!isInside || (item.ItemType() == ItemTypeInteger && length > 4)) return;
  if (item.ItemType() == ItemTypeFloat && (length != 4 || std::isnan(held.Get<float>()))) return;
  Demand(item.IsSurelySameIn(image), "what was taken from the bytes is surely the same in them",
         [&] { return SeenIn(item, image); });
}

}  // namespace

void DemandSureSameness(KELDataItem& item, SeenBytes image) {
  const Variant held = item.DATAValue();
  const bool written = item.WriteDone();
  const std::int32_t type = item.ItemType();
  const std::int32_t words = item.ItemWordLength();
  const std::int64_t first = item.ItemGroupBufferOffset();
  const std::int64_t last = first + 2 * std::int64_t{words} - 1;
  const Variant there = item.ExtractFromBuffer(image);

  std::vector<SeenBytes> images{image, image.first(0)};
  std::vector<std::uint8_t> changed[2];
  std::size_t which = 0;
  for (const std::int64_t at : {first, last}) {
    std::vector<std::uint8_t>& other = changed[which++];
    if (at < 0 || at >= std::ssize(image)) continue;
    other.assign(image.begin(), image.end());
    other[static_cast<std::size_t>(at)] ^= 0x80;
    images.push_back(other);
  }
  if (last >= 0 && last < std::ssize(image)) images.push_back(image.first(static_cast<std::size_t>(last)));

  DemandSureIsSame(item, image);
  item.SetWriteDone(false);
  item.SetDATAValue(there);
  if (type >= ItemTypeInteger && type <= ItemTypeRaw) DemandSameIsSure(item, image, there);
  for (const Variant& value : {held, there, Variant(0.0), Variant(-0.0), Variant(0.0F), Variant(-0.0F),
                               Variant(std::nan("")), Variant(std::nanf(""))}) {
    item.SetDATAValue(value);
    for (const SeenBytes& each : images)
      for (const std::int32_t otherType : {ItemTypeInteger, ItemTypeString, ItemTypeFloat, ItemTypeRaw}) {
        item.SetItemType(otherType);
        DemandSureIsSame(item, each);
      }
    item.SetItemType(type);
    for (const std::int32_t otherWords : {words - 1, words + 1}) {
      item.SetItemWordLength(otherWords);
      DemandSureIsSame(item, image);
    }
    item.SetItemWordLength(words);
    item.SetWriteDone(true);
    DemandSureIsSame(item, image);
    item.SetWriteDone(false);
  }
  item.SetDATAValue(held);
  item.SetWriteDone(written);
}

}  // namespace orvo::fuzz
