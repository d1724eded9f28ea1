#include "simulated/description/fault_plan.h"

#include <algorithm>

namespace orv {

void FaultPlan::Fail(FaultOperation operation, std::optional<std::uint32_t> nth,
                     std::int32_t status) {
  if (nth == 0U) return;
  const std::lock_guard guard(lock_);
  Record& record = records_[operation.index()];
  record.rules.push_back({nth ? record.calls + *nth : 0, status});
}

void FaultPlan::Clear() {
  const std::lock_guard guard(lock_);
  records_ = {};
}

std::uint32_t FaultPlan::Calls(FaultOperation operation) const {
  const std::lock_guard guard(lock_);
  return records_[operation.index()].calls;
}

std::optional<std::int32_t> FaultPlan::Check(FaultOperation operation) {
  const std::lock_guard guard(lock_);
  Record& record = records_[operation.index()];
  ++record.calls;
  const auto due = std::ranges::find_if(
      record.rules, [&](const Rule& rule) { return rule.due == 0 || rule.due == record.calls; });
  if (due == record.rules.end()) return std::nullopt;
  const std::int32_t status = due->status;
  if (due->due != 0) record.rules.erase(due);
  return status;
}

}  // namespace orv
