// The registry of one simulated machine as its key handles share it: one lock around the tree,
// kept in step with the machine's registry file when there is one.
#pragma once

#include <boost/core/noncopyable.hpp>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "simulated/description/fault_plan.h"
#include "simulated/registry/registry_export.h"
#include "simulated/shared_file.h"

namespace orv {

// One change of the tree. `apply` runs once, under the hive's lock. A change that fails or cannot
// be written to disk is undone, any other is announced to the watches; neither throws.
struct RegistryEdit {
  std::function<RegStatus(RegistryNode& root)> apply;
  std::function<void()> undo;
  std::function<void()> announce;
  bool changed = false;  // set by `apply` as soon as there is something to write or undo
};

class RegistryHive : boost::noncopyable {
 public:
  explicit RegistryHive(std::shared_ptr<FaultPlan> faults);
  ~RegistryHive();

  // Keeps the hive in a folder's registry file from now on. Returns false, with the reason, if the
  // file is refused; the hive is then of no use.
  bool Attach(const std::filesystem::path& folder, FileError& error);
  // Makes a registry export the content. Returns the number of its latest change; nullopt, with
  // line and reason, if it is refused.
  std::optional<std::uint64_t> Load(const std::string& text, FileError& error);

  FaultPlan& faults() noexcept { return *faults_; }

  // Runs `body(root)` on the present state.
  template <class Body>
  RegStatus Read(Body&& body) {
    const std::lock_guard guard(lock_);
    Refresh();
    return body(*root_);
  }
  RegStatus Commit(RegistryEdit& edit);

  // Arms a notification; the handle owns the watch and removes it by Unwatch.
  RegStatus Watch(RegistryNode& node, RegistryWatch& watch, const RegistryWatch::Armed& entry);
  void Unwatch(RegistryNode& node, RegistryWatch& watch) noexcept;

 private:
  class FileWatch;

  // Takes over what others wrote to the file. Under the lock.
  void Refresh() {
    if (file_) file_->Refresh();
  }
  bool Write();
  RegStatus Arm(RegistryNode& node, RegistryWatch& watch, const RegistryWatch::Armed& entry);

  std::shared_ptr<FaultPlan> faults_;
  std::mutex lock_;
  RegistryNodePtr root_;  // its children are HKEY_LOCAL_MACHINE and so on
  ExportFormat format_;   // of the file
  std::optional<SharedFile> file_;

  std::mutex watch_lock_;  // taken before lock_, never the other way
  std::size_t watching_handles_ = 0;
  std::unique_ptr<FileWatch> file_watch_;
};

// The keys as callers of the platform see them.
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
