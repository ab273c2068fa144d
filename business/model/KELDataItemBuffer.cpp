// The item in the bytes of its whole group: where its value lies and whether it changed there.

#include "errors/ErrorHandling.h"
#include "model/KELDataItem.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <vector>

namespace orvo {

namespace {

// Runs step(i, byte) for each byte of [offset, offset + count) that lies inside the buffer.
template <class Byte, class Step>
void ForBytesInside(std::span<Byte> buffer, std::int64_t offset, std::int64_t count, Step&& step) {
  const std::int64_t first = std::max<std::int64_t>(0, -offset);
  const std::int64_t last = std::min<std::int64_t>(count, static_cast<std::int64_t>(buffer.size()) - offset);
  for (std::int64_t i = first; i < last; ++i)
    step(i, buffer[static_cast<std::size_t>(offset + i)]);
}

constexpr std::int64_t FloatBytes = 4;

}  // namespace

Variant KELDataItem::ExtractFromBuffer(std::span<const std::uint8_t> buffer) const noexcept {
  const std::int64_t count = wordLength_ > 0 ? 2 * std::int64_t{wordLength_} : 0;
  switch (itemType_) {
    case ItemTypeInteger: {
      // Bytes above the lowest 32 bits fall out of the number.
      std::uint32_t number = 0;
      ForBytesInside(buffer, groupBufferOffset_, count, [&](std::int64_t i, std::uint8_t byte) {
        const std::int64_t shift = 8 * (count - 1 - i);
        if (shift < 32) number |= std::uint32_t{byte} << shift;
      });
      // kept: the number is handed on as a double; a word above 32767 stays positive here, also when it is
      // signed.
      return static_cast<double>(static_cast<std::int32_t>(number));
    }
    case ItemTypeFloat: {
      std::uint32_t word = 0;
      ForBytesInside(buffer, groupBufferOffset_, FloatBytes, [&](std::int64_t i, std::uint8_t byte) {
        word |= std::uint32_t{byte} << (8 * (FloatBytes - 1 - i));
      });
      return std::bit_cast<float>(word);
    }
    case ItemTypeString:
    case ItemTypeRaw: {
      Variant value;
      Suppressed([&] {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count), 0);
        ForBytesInside(buffer, groupBufferOffset_, count,
                       [&](std::int64_t i, std::uint8_t byte) { bytes[static_cast<std::size_t>(i)] = byte; });
        value = Variant::OfBytes(bytes);
      });
      return value;
    }
    default:
      return {};
  }
}

void KELDataItem::StoreIntoBuffer(const Variant& raw, std::span<std::uint8_t> buffer) const {
  const std::int64_t count = wordLength_ > 0 ? 2 * std::int64_t{wordLength_} : 0;
  switch (itemType_) {
    case ItemTypeInteger: {
      const std::int64_t number = ToI4(raw);
      ForBytesInside(buffer, groupBufferOffset_, count, [&](std::int64_t i, std::uint8_t& byte) {
        const std::int64_t shift = std::min<std::int64_t>(8 * (count - 1 - i), 63);
        byte = static_cast<std::uint8_t>(number >> shift);
      });
      break;
    }
    case ItemTypeFloat: {
      const auto word = std::bit_cast<std::uint32_t>(ToR4(raw));
      ForBytesInside(buffer, groupBufferOffset_, FloatBytes, [&](std::int64_t i, std::uint8_t& byte) {
        byte = static_cast<std::uint8_t>(word >> (8 * (FloatBytes - 1 - i)));
      });
      break;
    }
    case ItemTypeString:
    case ItemTypeRaw: {
      const std::span<const std::uint8_t> bytes =
          raw.IsByteArray() ? raw.Bytes() : std::span<const std::uint8_t>{};
      // Nothing to write is zeros; a shorter array leaves the rest of the place alone.
      const std::int64_t written = raw.IsByteArray() ? std::min<std::int64_t>(count, std::ssize(bytes)) : count;
      ForBytesInside(buffer, groupBufferOffset_, written, [&](std::int64_t i, std::uint8_t& byte) {
        byte = bytes.empty() ? std::uint8_t{0} : bytes[static_cast<std::size_t>(i)];
      });
      break;
    }
    default:
      break;
  }
}

bool KELDataItem::IsSurelySameIn(std::span<const std::uint8_t> buffer) const noexcept {
  const std::int64_t count = 2 * std::int64_t{wordLength_};
  const std::int64_t offset = groupBufferOffset_;
  if (writeDone_ || offset < 0 || count <= 0 || offset + count > std::ssize(buffer)) return false;
  const std::uint8_t* const place = buffer.data() + offset;
  const auto word = [place](std::size_t at) { return std::uint32_t{place[at]} << 8 | place[at + 1]; };
  if (dataValue_.Is(VariantKind::R8)) {
    if (itemType_ != ItemTypeInteger || count > 4) return false;
    const std::uint32_t number = count == 2 ? word(0) : word(0) << 16 | word(2);
    return dataValue_.Get<double>() == static_cast<double>(static_cast<std::int32_t>(number));
  }
  if (dataValue_.Is(VariantKind::R4))
    return itemType_ == ItemTypeFloat && count == FloatBytes &&
           dataValue_.Get<float>() == std::bit_cast<float>(word(0) << 16 | word(2));
  if (!dataValue_.IsByteArray() || (itemType_ != ItemTypeString && itemType_ != ItemTypeRaw)) return false;
  const std::span<const std::uint8_t> bytes = dataValue_.Bytes();
  return std::ssize(bytes) == count && dataValue_.LowerBound() == 0 &&
         std::memcmp(bytes.data(), place, bytes.size()) == 0;
}

bool KELDataItem::TakeChange(const Variant& raw) {
  if (raw.IsEmpty()) return false;
  if (writeDone_) {
    writeDone_ = false;
    return true;
  }
  if (dataValue_.IsEmpty()) return true;
  if (dataValue_.IsByteArray() && raw.IsByteArray()) {
    // kept: arrays of different upper bound count as unchanged here.
    if (dataValue_.UpperBound() != raw.UpperBound()) return false;
    return !std::ranges::equal(dataValue_.Bytes(), raw.Bytes());
  }
  if (dataValue_.IsArray() || raw.IsArray() || dataValue_.Kind() != raw.Kind()) return true;
  // What does not compare, an error value for one, is not equal.
  return AnswerOr(Comparison::Null, [&] { return Compare(dataValue_, raw); }) != Comparison::Equal;
}

}  // namespace orvo
