#include "platform/com_runtime.h"
#include "platform/machine_conformance.h"
#include "platform/windows/under_wine.h"
#include "platform/windows/windows_machine.h"

namespace orv {
namespace {

class ThisMachine final : public MachineUnderTest {
 public:
  Machine& machine() override { return machine_; }
  Machine* other() override { return &other_; }
  // Seen on Wine 8.0: no signal within 20 s, whatever the filter; a watch on the parent key is
  // told.
  bool deletion_signals() const override { return !IsUnderWine(); }

 private:
  ComRuntime runtime_;
  WindowsMachine machine_;
  WindowsMachine other_;
};

INSTANTIATE_TEST_SUITE_P(Windows, MachineConformance,
                         testing::Values(MachineKind{
                             "ThisMachine", [] { return std::make_unique<ThisMachine>(); }}),
                         MachineKindName);

}  // namespace
}  // namespace orv
