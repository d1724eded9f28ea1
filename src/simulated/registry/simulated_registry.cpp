#include "simulated/registry/simulated_registry.h"

#include "simulated/registry/registry_key_handle.h"
#include "simulated/registry/registry_tree_export.h"

namespace orv {
namespace {

// The platform's answer to a path that begins with a backslash (a bad path name).
constexpr RegStatus kRegBadPath = 161;

std::wstring FullPath(RegRoot root, const std::wstring& path) {
  const std::wstring_view prefix = root == RegRoot::LocalMachine  ? kLocalMachineName
                                   : root == RegRoot::CurrentUser ? kCurrentUserName
                                                                  : kClassesPath;
  return std::wstring(prefix) + L'\\' + path;
}

RegStatus CheckPath(const std::wstring& path) {
  if (path.empty()) return kRegInvalidParameter;
  return path.starts_with(L'\\') ? kRegBadPath : kRegOk;
}

class CreateKeyEdit final : public RegistryEdit {
 public:
  explicit CreateKeyEdit(const std::wstring& path) : path_(path) {}

  RegStatus Apply(RegistryNode& root) override {
    RegistryNode* node = &root;
    std::wstring_view rest = path_;
    std::size_t depth = 0;
    for (auto element = NextPathElement(rest); !element.empty(); element = NextPathElement(rest)) {
      if (++depth > kRegistryDepth) return Refuse();
      RegistryNode* child = node->Child(element);
      node = child != nullptr ? child : &Create(*node, element);
    }
    node_ = node->shared_from_this();
    return kRegOk;
  }
  void Undo() noexcept override {
    if (topmost_ != nullptr) topmost_->parent->children.Remove(*topmost_);
  }
  void Announce() noexcept override { topmost_->parent->Changed(kNotifyName); }
  const RegistryNodePtr& node() const noexcept { return node_; }

 private:
  RegistryNode& Create(RegistryNode& parent, std::wstring_view name) {
    RegistryNode& created = parent.AddChild(name);
    if (topmost_ == nullptr) topmost_ = &created;
    changed = true;
    return created;
  }
  RegStatus Refuse() noexcept {
    Undo();
    changed = false;
    return kRegInvalidParameter;
  }

  std::wstring_view path_;
  RegistryNode* topmost_ = nullptr;  // of the keys that were missing
  RegistryNodePtr node_;
};

class DeleteTreeEdit final : public RegistryEdit {
 public:
  explicit DeleteTreeEdit(const std::wstring& path) : path_(path) {}

  RegStatus Apply(RegistryNode& root) override {
    RegistryNode* node = root.Descend(path_);
    if (node == nullptr) return kRegNotFound;
    parent_ = node->parent;
    removed_ = parent_->children.Remove(*node);
    changed = true;
    return kRegOk;
  }
  void Undo() noexcept override { parent_->children.Restore(std::move(removed_)); }
  void Announce() noexcept override {
    removed_.item->MarkDeleted();
    parent_->Changed(kNotifyName);
  }

 private:
  std::wstring_view path_;
  RegistryNode* parent_ = nullptr;
  NameTable<RegistryNode>::Removed removed_;
};

}  // namespace

RegStatus SimulatedRegistry::OpenKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                                     std::unique_ptr<RegistryKey>& key) {
  key.reset();
  if (const auto fault = hive_->faults().Check("registry.open_key")) return *fault;
  if (const RegStatus status = CheckPath(path); status != kRegOk) return status;
  RegistryNodePtr node = Find(FullPath(root, path));
  if (node == nullptr) return kRegNotFound;
  key = std::make_unique<RegistryKeyHandle>(hive_, std::move(node), access);
  return kRegOk;
}

RegistryNodePtr SimulatedRegistry::Find(const std::wstring& full_path) {
  RegistryNodePtr node;
  hive_->Read([&](RegistryNode& root) {
    if (RegistryNode* found = root.Descend(full_path)) node = found->shared_from_this();
    return kRegOk;
  });
  return node;
}

RegStatus SimulatedRegistry::CreateKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                                       std::unique_ptr<RegistryKey>& key, bool* created) {
  key.reset();
  if (const auto fault = hive_->faults().Check("registry.create_key")) return *fault;
  if (const RegStatus status = CheckPath(path); status != kRegOk) return status;
  if (!IsStorableName(path)) return kRegInvalidParameter;
  const std::wstring full_path = FullPath(root, path);
  CreateKeyEdit edit(full_path);
  RegistryNodePtr node = Find(full_path);  // a key that exists needs no lock between processes
  if (node == nullptr) {
    const RegStatus status = hive_->Commit(edit);
    if (status != kRegOk) return status;
    node = edit.node();
  }
  key = std::make_unique<RegistryKeyHandle>(hive_, std::move(node), access);
  if (created != nullptr) *created = edit.changed;
  return kRegOk;
}

RegStatus SimulatedRegistry::DeleteTree(RegRoot root, const std::wstring& path) {
  if (const auto fault = hive_->faults().Check("registry.delete_tree")) return *fault;
  if (const RegStatus status = CheckPath(path); status != kRegOk) return status;
  const std::wstring full_path = FullPath(root, path);
  DeleteTreeEdit edit(full_path);
  return hive_->Commit(edit);
}

}  // namespace orv
