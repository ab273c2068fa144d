#include "spooler/ReqType.h"

#include <array>
#include <cstddef>
#include <optional>

namespace orvo {

namespace {

using enum RequestCaller;
using enum RequestScope;
using enum RequestDirection;

constexpr std::array<std::optional<RequestKind>, 14> Kinds{{
    std::nullopt, RequestKind{Client, ListedItems, Read},  // 1
    RequestKind{Client, ListedItems, Write},               // 2
    RequestKind{Refresh, ListedItems, Read},               // 3
    RequestKind{Waiting, ListedItems, Read},               // 4
    RequestKind{Waiting, ListedItems, Write},              // 5
    RequestKind{Waiting, SingleItem, Read},                // 6
    RequestKind{Waiting, SingleItem, Write},               // 7
    std::nullopt,                                          // 8
    RequestKind{Client, WholeGroup, Read},                 // 9
    RequestKind{Client, WholeGroup, Write},                // 10
    RequestKind{Refresh, WholeGroup, Read},                // 11
    RequestKind{Waiting, WholeGroup, Read},                // 12
    RequestKind{Waiting, WholeGroup, Write},               // 13
}};

}  // namespace

const RequestKind* FindRequestKind(std::int32_t type) noexcept {
  if (type < 0 || type >= static_cast<std::int32_t>(Kinds.size())) return nullptr;
  const auto& kind = Kinds[static_cast<std::size_t>(type)];
  return kind.has_value() ? &*kind : nullptr;
}

bool IsSynchronous(std::int32_t type) noexcept {
  const RequestKind* kind = FindRequestKind(type);
  return kind != nullptr && kind->caller == Waiting;
}

bool IsRated(std::int32_t type) noexcept {
  const RequestKind* kind = FindRequestKind(type);
  return kind != nullptr && kind->caller == Refresh;
}

}  // namespace orvo
