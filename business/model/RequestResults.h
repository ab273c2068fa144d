// The results of a completed request by position, whatever bounds and lengths the driver's arrays have.
#pragma once

#include "spooler/DataRequest.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvo {

// What a read of `count` items brought. A position that one of the driver's arrays does not reach has an Empty
// value and error 9, or the error other than 0 that the driver gave for it; what they hold beyond `count` is
// ignored. When the request itself failed every value is Empty and every error is the request's.
class ReadResults {
 public:
  ReadResults(const DataRequest& request, std::size_t count);
  ReadResults(std::int32_t requestError, SafeArray<Variant> values, SafeArray<std::int32_t> errors,
              std::size_t count);

  bool RequestFailed() const noexcept { return requestError_ != 0; }
  std::size_t Count() const noexcept { return count_; }
  // Whether the driver delivered a value, be it Empty, for the position.
  bool HasValue(std::size_t position) const noexcept {
    return requestError_ == 0 && position < values_.Size() && position < errors_.Size();
  }
  const Variant& Value(std::size_t position) const noexcept {
    return HasValue(position) ? values_.View()[position] : Nothing;
  }
  std::int32_t Error(std::size_t position) const noexcept;

 private:
  static const Variant Nothing;

  std::int32_t requestError_;
  SafeArray<Variant> values_;
  SafeArray<std::int32_t> errors_;
  std::size_t count_;
};

// The errors of a write of `count` items, under the same rules.
std::vector<std::int32_t> WriteErrors(const DataRequest& request, std::size_t count);

}  // namespace orvo
