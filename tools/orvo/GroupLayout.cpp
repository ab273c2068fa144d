#include "GroupLayout.h"

#include "errors/AutomationError.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

namespace orvo::client {

namespace {

std::int64_t ByteLength(const KELDataItem& item) {
  return std::int64_t{2} * item.ItemWordLength();
}

}  // namespace

void LayOut(KELDataGroup& group) {
  std::int64_t offset = 0;
  for (const auto& item : group.KELDataItems()->NewEnum()) {
    item->SetItemGroupBufferOffset(static_cast<std::int32_t>(offset));
    offset += ByteLength(*item);
    if (offset >= std::numeric_limits<std::int32_t>::max()) RaiseRuntimeError(RuntimeError::Overflow);
  }
  // A save writes the upper bound and a load takes it for the length: one byte more survives that.
  group.SetCompiledBufferDimension(static_cast<std::int32_t>(offset) + 1);
}

std::optional<std::string> LayoutMistake(KELDataGroup& group) {
  auto items = group.KELDataItems()->NewEnum();
  std::stable_sort(items.begin(), items.end(), [](const auto& left, const auto& right) {
    return left->ItemGroupBufferOffset() < right->ItemGroupBufferOffset();
  });
  const auto size = static_cast<std::int64_t>(group.CompiledBuffer().Size());
  std::int64_t end = 0;
  std::string previous;
  for (const auto& item : items) {
    const std::int64_t offset = item->ItemGroupBufferOffset();
    const auto where = [&] {
      return std::string("item '")
          .append(item->ItemName())
          .append("' of group '")
          .append(group.GroupName())
          .append("' ");
    };
    if (offset < end)
      return where() + "lies over '" + previous + "' in the group's buffer, at " + std::to_string(offset);
    end = offset + ByteLength(*item);
    previous = item->ItemName();
    if (end > size)
      return where() + "ends at " + std::to_string(end) + ", the group's buffer at " + std::to_string(size);
  }
  return std::nullopt;
}

}  // namespace orvo::client
