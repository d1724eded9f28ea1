// The registry of the machine this process runs on.
#pragma once

#include "platform/registry.h"

namespace orv {

class WindowsRegistry final : public Registry {
 public:
  RegStatus OpenKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                    std::unique_ptr<RegistryKey>& key) override;
  RegStatus CreateKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                      std::unique_ptr<RegistryKey>& key, bool* created) override;
  RegStatus DeleteTree(RegRoot root, const std::wstring& path) override;
};

}  // namespace orv
