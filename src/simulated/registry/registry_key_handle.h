// One open key of a simulated registry.
#pragma once

#include <memory>

#include "platform/registry.h"
#include "simulated/registry/registry_hive.h"

namespace orv {

// Names are kept in a text file line by line, so those with line ends (or the terminator) are
// refused.
bool IsStorableName(std::wstring_view name) noexcept;

class RegistryKeyHandle final : public RegistryKey {
 public:
  RegistryKeyHandle(std::shared_ptr<RegistryHive> hive, RegistryNodePtr node,
                    std::uint32_t access) noexcept
      : hive_(std::move(hive)), node_(std::move(node)), access_(access) {}
  ~RegistryKeyHandle() override { hive_->Unwatch(*node_, watch_); }

  RegStatus QueryValue(const std::wstring& name, std::uint32_t* type, void* data,
                       std::uint32_t* size) override;
  RegStatus SetValue(const std::wstring& name, std::uint32_t type, const void* data,
                     std::uint32_t size) override;
  RegStatus DeleteValue(const std::wstring& name) override;
  RegStatus EnumValue(std::uint32_t index, std::wstring& name) override;
  RegStatus EnumSubKey(std::uint32_t index, std::wstring& name) override;
  RegStatus NotifyChange(bool subtree, std::uint32_t filter, Event& event) override;
  std::unique_ptr<RegistryKey> Duplicate() override;

 private:
  // A planned failure of the operation, or the refusal of a handle without the right.
  RegStatus Begin(FaultOperation operation, std::uint32_t right);
  template <class Body>
  RegStatus Read(Body&& body);

  std::shared_ptr<RegistryHive> hive_;
  RegistryNodePtr node_;
  std::uint32_t access_;
  RegistryWatch watch_;  // under the hive's lock
};

}  // namespace orv
