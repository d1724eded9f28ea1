// Notices changes made to a machine's folder by others.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

#include "platform/files.h"
#include "platform/synchronization.h"

namespace orv {

// Calls back after changes of a folder's files, on a thread of its own, until it is destroyed.
class RegistryFileWatch {
 public:
  // Null when the system has no watch or thread to give.
  static std::unique_ptr<RegistryFileWatch> Start(const std::filesystem::path& folder,
                                                  std::function<void()> on_change);
  ~RegistryFileWatch();
  RegistryFileWatch(const RegistryFileWatch&) = delete;
  RegistryFileWatch& operator=(const RegistryFileWatch&) = delete;

 private:
  explicit RegistryFileWatch(std::function<void()> on_change);
  std::uint32_t Run() noexcept;

  std::function<void()> on_change_;
  Event stop_{Event::Kind::ManualReset};
  Event changed_{Event::Kind::AutoReset};
  std::unique_ptr<FolderWatch> folder_watch_;
  std::unique_ptr<Thread> thread_;
};

}  // namespace orv
