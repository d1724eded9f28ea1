// The behaviour that all kinds of machines have in common. A program that links
// machine_conformance.cpp instantiates the suite with its own kinds of machines.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/com_ptr.h"
#include "platform/machine.h"
#include "support/machine_registry.h"

namespace orv {

class MachineUnderTest {
 public:
  virtual ~MachineUnderTest() = default;
  virtual Machine& machine() = 0;
  // A second machine on the same state; null if there is none.
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

  MachineConformance() { Delete(L""); }
  ~MachineConformance() override { Delete(L""); }

  Machine& machine() { return under_test_->machine(); }
  Registry& registry() { return machine().registry(); }

  static std::wstring PathOf(const std::wstring& subkey) {
    return L"Software\\Orv Conformance" + (subkey.empty() ? subkey : L'\\' + subkey);
  }
  KeyPointer Create(const std::wstring& subkey) {
    return MachineKey(machine(), PathOf(subkey), RegRoot::CurrentUser);
  }
  KeyPointer Open(const std::wstring& subkey, std::uint32_t access) {
    KeyPointer key;
    EXPECT_EQ(registry().OpenKey(RegRoot::CurrentUser, PathOf(subkey), access, key), kRegOk);
    return key;
  }
  RegStatus Delete(const std::wstring& subkey) {
    return registry().DeleteTree(RegRoot::CurrentUser, PathOf(subkey));
  }

  ComPtr<IMMDeviceEnumerator> Devices() {
    ComPtr<IMMDeviceEnumerator> enumerator;
    EXPECT_EQ(machine().CreateDeviceEnumerator(enumerator.Put()), S_OK);
    return enumerator;
  }

  std::unique_ptr<MachineUnderTest> under_test_ = GetParam().make();
};

}  // namespace orv
