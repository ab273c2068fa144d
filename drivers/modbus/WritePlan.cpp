#include "modbus/WritePlan.h"

namespace orvo::modbus {

std::vector<WriteRun> PlanWrites(std::span<const PlannedWrite> writes) {
  std::vector<WriteRun> runs;
  bool open = false;  // the last run takes more
  for (std::size_t k = 0; k < writes.size(); ++k) {
    const auto& [place, isPart] = writes[k];
    const std::int32_t limit = HoldsBits(place.area) ? MostCoilsWritten : MostRegistersWritten;
    if (open && !isPart && runs.back().span.area == place.area && runs.back().span.End() == place.start &&
        runs.back().span.count + place.count <= limit) {
      runs.back().span.count += place.count;
      ++runs.back().count;
    } else {
      runs.push_back({place, k, 1});
    }
    open = !isPart;
  }
  return runs;
}

}  // namespace orvo::modbus
