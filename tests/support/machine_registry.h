// Keys and values of a machine's registry as tests write and read them.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/machine.h"
#include "platform/registry.h"

namespace orv {

// Opens a key with every right, creating it when missing.
inline std::unique_ptr<RegistryKey> MachineKey(Machine& machine, const std::wstring& path,
                                               RegRoot root = RegRoot::LocalMachine) {
  std::unique_ptr<RegistryKey> key;
  EXPECT_EQ(
      machine.registry().CreateKey(root, path, kKeyRead | kKeyWrite | kKeyWow64_64, key, nullptr),
      kRegOk);
  return key;
}
inline bool HasKey(Machine& machine, const std::wstring& path,
                   RegRoot root = RegRoot::LocalMachine) {
  std::unique_ptr<RegistryKey> key;
  return machine.registry().OpenKey(root, path, kKeyRead | kKeyWow64_64, key) == kRegOk;
}

inline RegStatus SetBytes(RegistryKey& key, const std::wstring& name,
                          const std::vector<std::uint8_t>& bytes, std::uint32_t type = kRegBinary) {
  return key.SetValue(name, type, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}
// A value's bytes; empty when it is missing.
inline std::vector<std::uint8_t> GetBytes(RegistryKey& key, const std::wstring& name) {
  std::uint32_t type = 0;
  std::vector<std::uint8_t> bytes;
  return ReadValue(key, name, type, bytes) == kRegOk ? bytes : std::vector<std::uint8_t>();
}

inline std::vector<std::wstring> ValueNames(RegistryKey& key) {
  std::vector<std::wstring> names;
  std::wstring name;
  for (std::uint32_t i = 0; key.EnumValue(i, name) == kRegOk; ++i) names.push_back(name);
  return names;
}
inline std::vector<std::wstring> SubKeyNames(RegistryKey& key) {
  std::vector<std::wstring> names;
  std::wstring name;
  for (std::uint32_t i = 0; key.EnumSubKey(i, name) == kRegOk; ++i) names.push_back(name);
  return names;
}

}  // namespace orv
