#include "model/RequestResults.h"

#include "errors/AutomationError.h"

#include <utility>

namespace orvo {

namespace {
constexpr auto MissingPosition = static_cast<std::int32_t>(RuntimeError::SubscriptOutOfRange);
}  // namespace

const Variant ReadResults::Nothing;

ReadResults::ReadResults(const DataRequest& request, std::size_t count)
    : ReadResults(request.Error(), request.DATAValues(), request.Errors(), count) {}

ReadResults::ReadResults(std::int32_t requestError, SafeArray<Variant> values, SafeArray<std::int32_t> errors,
                         std::size_t count)
    : requestError_(requestError), values_(std::move(values)), errors_(std::move(errors)), count_(count) {}

std::int32_t ReadResults::Error(std::size_t position) const noexcept {
  if (requestError_ != 0) return requestError_;
  if (position < errors_.Size() && errors_.View()[position] != 0) return errors_.View()[position];
  return HasValue(position) ? 0 : MissingPosition;
}

std::vector<std::int32_t> WriteErrors(const DataRequest& request, std::size_t count) {
  if (request.Error() != 0) return std::vector<std::int32_t>(count, request.Error());
  std::vector<std::int32_t> errors(count, MissingPosition);
  const SafeArray<std::int32_t> reported = request.Errors();
  for (std::size_t k = 0; k < count && k < reported.Size(); ++k)
    errors[k] = reported.View()[k];
  return errors;
}

}  // namespace orvo
