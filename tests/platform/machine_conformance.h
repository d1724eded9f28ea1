// What every machine must do, whatever it stands on. A program that links machine_conformance.cpp
// instantiates the suite with its own kinds of machines.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/machine.h"

namespace orv {

class MachineUnderTest {
 public:
  virtual ~MachineUnderTest() = default;
  virtual Machine& machine() = 0;
  // A second machine that stands on the same state; null when there is no such thing.
  virtual Machine* other() { return nullptr; }
  // Whether deleting a key signals the notifications armed on that key itself.
  virtual bool deletion_signals() const { return true; }
};

struct MachineKind {
  std::string name;  // letters only
  std::function<std::unique_ptr<MachineUnderTest>()> make;
};
inline void PrintTo(const MachineKind& kind, std::ostream* stream) { *stream << kind.name; }
inline std::string MachineKindName(const testing::TestParamInfo<MachineKind>& info) {
  return info.param.name;
}

// Works below a key of the current user that exists only during the test.
class MachineConformance : public testing::TestWithParam<MachineKind> {
 protected:
  static constexpr std::uint32_t kFullAccess = kKeyRead | kKeyWrite | kKeyWow64_64;
  using KeyPointer = std::unique_ptr<RegistryKey>;
  using Bytes = std::vector<std::uint8_t>;

  MachineConformance();
  ~MachineConformance() override;

  Machine& machine() { return under_test_->machine(); }
  Registry& registry() { return machine().registry(); }

  static std::wstring PathOf(const std::wstring& subkey);
  KeyPointer Create(const std::wstring& subkey, std::uint32_t access = kFullAccess);
  KeyPointer Open(const std::wstring& subkey, std::uint32_t access);
  static Bytes Get(RegistryKey& key, const std::wstring& name);

  std::unique_ptr<MachineUnderTest> under_test_;
};

}  // namespace orv
