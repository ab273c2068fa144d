#include "PlainLoop.h"

#include <bit>
#include <cstring>
#include <limits>

namespace orvo::bench {

namespace {

constexpr std::int32_t StringType = 1;
constexpr std::int32_t FloatType = 2;

double DecimalDigits(std::uint32_t coded) {
  return 1000 * (coded >> 12 & 15) + 100 * (coded >> 8 & 15) + 10 * (coded >> 4 & 15) + (coded & 15);
}

std::string TextOf(const std::uint8_t* bytes, std::size_t length) {
  return {reinterpret_cast<const char*>(bytes), length};
}

}  // namespace

PlainLoop::PlainLoop(std::size_t items, ByteOrder order) : order_(order) {
  const Image image = MakeImage(0, items, 0, order);
  for (std::size_t index = 0; index < items; ++index) {
    const ItemKind& kind = KindOfItem(index);
    items_.push_back({image.offsets[index], static_cast<std::uint8_t>(2 * kind.words),
                      static_cast<std::uint8_t>(kind.type), kind.isSigned, kind.bcd,
                      std::numeric_limits<double>::quiet_NaN(), static_cast<std::uint32_t>(texts_.size())});
    if (kind.type == StringType) texts_.resize(texts_.size() + static_cast<std::size_t>(2 * kind.words));
  }
}

double PlainLoop::Number(const Item& item, const std::uint8_t* bytes) const {
  std::uint32_t bits = 0;
  if (item.length == 2) {
    std::uint16_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    bits = order_ == ByteOrder::LeastFirst ? word : __builtin_bswap16(word);
  } else {
    std::memcpy(&bits, bytes, sizeof(bits));
    if (order_ == ByteOrder::MostFirst) bits = __builtin_bswap32(bits);
  }
  if (item.type == FloatType) return std::bit_cast<float>(bits);
  if (item.bcd) return DecimalDigits(bits);
  if (!item.isSigned) return bits;
  return item.length == 2 ? static_cast<std::int16_t>(bits) : static_cast<std::int32_t>(bits);
}

bool PlainLoop::TakeChange(Item& item, const std::uint8_t* bytes, double& number) {
  if (item.type == StringType) {
    std::uint8_t* const last = texts_.data() + item.lastText;
    if (std::memcmp(last, bytes, item.length) == 0) return false;
    std::memcpy(last, bytes, item.length);
    return true;
  }
  number = Number(item, bytes);
  if (number == item.last) return false;
  item.last = number;
  return true;
}

std::size_t PlainLoop::CountChanges(const Image& image) {
  std::size_t changes = 0;
  double number = 0;
  for (Item& item : items_)
    changes += TakeChange(item, image.bytes.data() + item.offset, number) ? 1 : 0;
  return changes;
}

void PlainLoop::ListChanges(const Image& image, std::vector<std::int32_t>& handles,
                            std::vector<Value>& values) {
  double number = 0;
  std::int32_t handle = 0;
  handles.reserve(items_.size());
  values.reserve(items_.size());
  for (Item& item : items_) {
    ++handle;
    const std::uint8_t* const bytes = image.bytes.data() + item.offset;
    if (!TakeChange(item, bytes, number)) continue;
    handles.push_back(handle);
    if (item.type == StringType)
      values.emplace_back(TextOf(bytes, item.length));
    else
      values.emplace_back(number);
  }
}

void PlainLoop::Read(const Image& image, std::vector<Value>& values) const {
  values.reserve(items_.size());
  for (const Item& item : items_) {
    const std::uint8_t* const bytes = image.bytes.data() + item.offset;
    if (item.type == StringType)
      values.emplace_back(TextOf(bytes, item.length));
    else
      values.emplace_back(Number(item, bytes));
  }
}

}  // namespace orvo::bench
