// Simulated machines with Intel audio DSPs.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/driver_names.h"
#include "simulated/simulated_machine.h"

namespace orv {

inline constexpr wchar_t kHdmi[] = L"{0.0.0.00000000}.{0F5C33A1-2A64-4E0D-9C41-6D6C1E5B7F01}";
inline constexpr wchar_t kSpeakers[] = L"{0.0.0.00000000}.{0f5c33a1-2a64-4e0d-9c41-6d6c1e5b7f02}";
inline constexpr wchar_t kChangeEvent[] = L"Global\\DSPKELControlChangeEvent";

// Two endpoints, of which the second one leads to a Skylake module; it is the default one. Both
// drivers are described; tests take away what they want absent.
class IntelMachine {
 public:
  explicit IntelMachine(std::filesystem::path drive_c = {})
      : machine_(SimulatedMachine::InMemory({}, std::move(drive_c))) {
    MachineDescription& description = machine_->description();
    for (const wchar_t* id : {kHdmi, kSpeakers}) {
      SimulatedEndpoint endpoint;
      endpoint.id = id;
      endpoint.is_default = id == kSpeakers;
      description.endpoints.push_back(endpoint);
    }
    SkylakeDescription skylake;
    skylake.endpoints.push_back({kSpeakers});
    skylake.other_modules.push_back({{1, 2, 3, {}}, 2, "Another Module", "0.1"});
    skylake.features = 5;
    description.drivers.skylake = skylake;
    description.drivers.broadwell.emplace().features = 5;
    description.events.emplace_back(kChangeEvent);
  }

  SimulatedMachine* operator->() const { return machine_.get(); }
  const std::shared_ptr<SimulatedMachine>& get() const { return machine_; }
  SkylakeDescription& skylake() const { return *machine_->description().drivers.skylake; }
  BroadwellDescription& broadwell() const { return *machine_->description().drivers.broadwell; }

  // What the drivers took since the last call, in order; Sent names the parameters.
  std::vector<DriverRecord> Received() {
    std::vector<DriverRecord> records = machine_->ReceivedRecords();
    std::erase_if(records, [this](const DriverRecord& record) { return record.number <= seen_; });
    if (!records.empty()) seen_ = records.back().number;
    return records;
  }
  std::vector<std::uint32_t> Sent() {
    std::vector<std::uint32_t> sent;
    for (const DriverRecord& record : Received()) sent.push_back(record.parameter);
    return sent;
  }
  // The drivers find every request well formed; those that the machine's description refuses are.
  void ExpectNothingRefused() {
    for (const DriverRefusal& refusal : machine_->RefusedRequests()) {
      EXPECT_TRUE(refusal.planned)
          << refusal.driver << ", " << refusal.request << ": " << refusal.reason;
    }
  }

 private:
  std::shared_ptr<SimulatedMachine> machine_;
  std::uint64_t seen_ = 0;  // number of the last record
};

inline DriverMisbehaviour Misbehave(DriverMisbehaviour::Kind kind, const char* request,
                                    std::int32_t status = 0, std::uint32_t size = 0) {
  DriverMisbehaviour rule;
  rule.kind = kind;
  rule.request = request;
  rule.status = status;
  rule.size = size;
  return rule;
}
// Of one parameter's reads or writes.
inline DriverMisbehaviour Misbehave(DriverMisbehaviour::Kind kind,
                                    DriverMisbehaviour::Direction direction,
                                    std::uint32_t parameter, std::int32_t status = 0) {
  DriverMisbehaviour rule = Misbehave(kind, request::kParameter, status);
  rule.direction = direction;
  rule.parameter = parameter;
  return rule;
}

// Runs `step` with one call after the other of an operation failing, and `check(n)` after the nth,
// until the step makes fewer calls.
template <class Step, class Check>
void WithEveryCallFailing(const IntelMachine& machine, const FaultOperation& operation,
                          std::uint32_t error, Step&& step, Check&& check) {
  for (std::uint32_t nth = 1;; ++nth) {
    SCOPED_TRACE(testing::Message() << operation.name() << ' ' << nth);
    machine->faults().Clear();
    machine->faults().FailNth(operation, nth, error);
    step();
    const bool failed = machine->faults().Calls(operation) >= nth;
    machine->faults().Clear();
    if (!failed) return;
    check();
  }
}

}  // namespace orv
