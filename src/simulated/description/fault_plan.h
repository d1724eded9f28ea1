// Failures on demand: any operation of a simulated machine can be made to fail, the nth time or
// always.
#pragma once

#include <array>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <optional>
#include <vector>

#include "simulated/description/fault_operation.h"

namespace orv {

class FaultPlan {
 public:
  // The nth call from now on (1 is the next one) answers `status`, once.
  void FailNth(FaultOperation operation, std::uint32_t nth, std::int32_t status);
  void FailAlways(FaultOperation operation, std::int32_t status);
  void Clear();  // no more failures; call counts start again
  std::uint32_t Calls(FaultOperation operation) const;

  // The machine calls this at the start of every operation. Returns the status to answer, or
  // nullopt if the operation is to go on.
  std::optional<std::int32_t> Check(FaultOperation operation);

 private:
  struct Rule {
    std::uint32_t due = 0;  // call number that fails; 0: every call
    std::int32_t status = 0;
  };
  struct Record {
    std::uint32_t calls = 0;
    std::vector<Rule> rules;
  };
  mutable std::mutex lock_;
  std::array<Record, std::size(kFaultOperations)> records_;
};

}  // namespace orv
