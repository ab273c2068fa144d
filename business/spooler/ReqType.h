// The kinds of request, and what each kind means to the spooler.
#pragma once

#include <cstdint>

namespace orvo {

// kept: there is no 8.
enum ReqType : std::int32_t {
  RT_ReadGroupItemsAsync = 1,
  RT_WriteGroupItemsAsync = 2,
  RT_ReadGroupItemsAsyncRated = 3,
  RT_ReadGroupItemsSync = 4,
  RT_WriteGroupItemsSync = 5,
  RT_ReadItemSync = 6,
  RT_WriteItemSync = 7,
  RT_ReadGroupAsync = 9,
  RT_WriteGroupAsync = 10,
  RT_ReadGroupAsyncRated = 11,
  RT_ReadGroupSync = 12,
  RT_WriteGroupSync = 13,
};

enum class RequestCaller : std::uint8_t {
  Client,   // asynchronous, answered by an event
  Refresh,  // made by a group's update timer
  Waiting,  // synchronous: a caller waits for it
};
enum class RequestScope : std::uint8_t { ListedItems, SingleItem, WholeGroup };
enum class RequestDirection : std::uint8_t { Read, Write };

struct RequestKind {
  RequestCaller caller;
  RequestScope scope;
  RequestDirection direction;
};

// What `type` means, or null for 8 and every value outside 1..13: such a request is neither sent nor delivered.
const RequestKind* FindRequestKind(std::int32_t type) noexcept;

// The kinds 4, 5, 6, 7, 12 and 13: a caller waits for them.
bool IsSynchronous(std::int32_t type) noexcept;
// The kinds 3 and 11: made by a group's update timer.
bool IsRated(std::int32_t type) noexcept;

}  // namespace orvo
