#include "platform/machine_conformance.h"
#include "platform/simulated/machine_folder.h"

namespace orv {
namespace {

class InMemory final : public MachineUnderTest {
 public:
  InMemory() : machine_(SimulatedMachine::InMemory()) {
    SimulatedEndpoint endpoint;
    endpoint.id = L"{0.0.0.00000000}.{5D6F1B2A-93C4-4E1D-8A7B-0C1D2E3F4A5B}";
    machine_->description().endpoints.push_back(endpoint);
  }
  Machine& machine() override { return *machine_; }

 private:
  std::unique_ptr<SimulatedMachine> machine_;
};

class InFolder final : public MachineUnderTest {
 public:
  Machine& machine() override { return *machine_; }
  Machine* other() override { return other_.get(); }

 private:
  MachineFolder folder_{"REGEDIT4\n", R"({"endpoints": [
      {"id": "{0.0.0.00000000}.{5D6F1B2A-93C4-4E1D-8A7B-0C1D2E3F4A5B}"}]})"};
  std::unique_ptr<SimulatedMachine> machine_ = folder_.Open();
  std::unique_ptr<SimulatedMachine> other_ = folder_.Open();
};

INSTANTIATE_TEST_SUITE_P(
    Simulated, MachineConformance,
    testing::Values(MachineKind{"InMemory", [] { return std::make_unique<InMemory>(); }},
                    MachineKind{"InFolder", [] { return std::make_unique<InFolder>(); }}),
    MachineKindName);

}  // namespace
}  // namespace orv
