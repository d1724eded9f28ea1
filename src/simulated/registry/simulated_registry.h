// The registry of a simulated machine: keys and handles as callers of the platform see them.
#pragma once

#include <memory>

#include "platform/registry.h"
#include "simulated/registry/registry_hive.h"

namespace orv {

class SimulatedRegistry : public Registry {
 public:
  explicit SimulatedRegistry(std::shared_ptr<RegistryHive> hive) : hive_(std::move(hive)) {}

  RegStatus OpenKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                    std::unique_ptr<RegistryKey>& key) override;
  RegStatus CreateKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                      std::unique_ptr<RegistryKey>& key, bool* created) override;
  RegStatus DeleteTree(RegRoot root, const std::wstring& path) override;

 private:
  RegistryNodePtr Find(const std::wstring& full_path);  // null if there is no such key

  std::shared_ptr<RegistryHive> hive_;  // also held by every open key
};

}  // namespace orv
