// The machine this process runs on.
#pragma once

#include <memory>

#include "platform/machine.h"
#include "platform/registry.h"

namespace orv {

// The registry of the machine this process runs on.
class WindowsRegistry final : public Registry {
 public:
  RegStatus OpenKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                    std::unique_ptr<RegistryKey>& key) override;
  RegStatus CreateKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                      std::unique_ptr<RegistryKey>& key, bool* created) override;
  RegStatus DeleteTree(RegRoot root, const std::wstring& path) override;
};

// Devices are enumerated through the component runtime: a thread that asks for the enumerator must
// have initialised it.
class WindowsMachine final : public Machine {
 public:
  static constexpr std::uint64_t kId = 0;  // never a new machine's

  WindowsMachine() noexcept : Machine(kId) {}

  Registry& registry() override { return registry_; }
  HRESULT CreateDeviceEnumerator(IMMDeviceEnumerator** enumerator) override;
  std::vector<std::wstring> DeviceInterfaces(REFGUID interface_class) override;
  std::unique_ptr<DeviceFile> OpenDevice(const std::wstring& path, std::uint32_t& error) override;
  std::unique_ptr<NamedEvent> OpenNamedEvent(const std::wstring& name,
                                             std::uint32_t& error) override;
  std::optional<std::wstring> KnownFolder(REFGUID folder) override;
  std::optional<std::wstring> SystemDirectory() override;
  bool IsPlatformVersion(std::uint32_t major, std::uint32_t minor) override;
  bool Is32BitProcess() override;
  bool FileExists(const std::wstring& path) override;
  std::optional<std::filesystem::path> HostFile(const std::wstring& path) override;
  std::optional<std::string> HostPath(const std::wstring& path) override;

 private:
  WindowsRegistry registry_;
};

}  // namespace orv
