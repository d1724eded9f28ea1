#include <cstring>

#include "simulated/registry/registry_hive.h"

namespace orv {
namespace {

constexpr std::size_t kLongestValueName = 16383;  // units, as on the platform

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

RegStatus CopyOut(const RegistryValue& value, std::uint32_t* type, void* data,
                  std::uint32_t* size) {
  if (type != nullptr) *type = value.type;
  if (size == nullptr) return kRegOk;
  const std::uint32_t room = *size;
  *size = static_cast<std::uint32_t>(value.bytes.size());
  if (data == nullptr) return kRegOk;
  if (room < *size) return kRegMoreData;
  if (*size != 0) std::memcpy(data, value.bytes.data(), *size);
  return kRegOk;
}

// One open key.
class KeyHandle final : public RegistryKey {
 public:
  KeyHandle(std::shared_ptr<RegistryHive> hive, RegistryNodePtr node, std::uint32_t access) noexcept
      : hive_(std::move(hive)), node_(std::move(node)), access_(access) {}
  ~KeyHandle() override { hive_->Unwatch(*node_, watch_); }

  RegStatus QueryValue(const std::wstring& name, std::uint32_t* type, void* data,
                       std::uint32_t* size) override {
    return Read("registry.query_value", kKeyQueryValue, [&](const RegistryNode& node) {
      if (data != nullptr && size == nullptr) return kRegInvalidParameter;
      const RegistryValue* value = node.values.Find(name);
      return value == nullptr ? kRegNotFound : CopyOut(*value, type, data, size);
    });
  }

  RegStatus SetValue(const std::wstring& name, std::uint32_t type, const void* data,
                     std::uint32_t size) override {
    const RegStatus begun = Begin("registry.set_value", kKeySetValue);
    if (begun != kRegOk) return begun;
    if (data == nullptr && size != 0) return kRegInvalidParameter;
    if (name.size() > kLongestValueName || !IsStorableName(name)) return kRegInvalidParameter;
    const auto* begin = static_cast<const std::uint8_t*>(data);
    std::vector<std::uint8_t> bytes(begin, begin + size);
    RegistryValue* value = nullptr;
    bool added = false;
    const auto exchange = [&]() noexcept {
      std::swap(value->type, type);
      value->bytes.swap(bytes);
    };
    RegistryEdit edit;
    edit.apply = [&](RegistryNode&) {
      if (node_->deleted) return kRegKeyDeleted;
      value = node_->values.Find(name);
      if (value == nullptr) {
        value = &node_->AddValue(name, type, std::move(bytes));
        added = edit.changed = true;
      } else if (!value->Holds(type, bytes)) {
        exchange();
        edit.changed = true;
      }
      return kRegOk;
    };
    edit.undo = [&] {
      if (added)
        node_->values.Remove(*value);
      else
        exchange();
    };
    edit.announce = [&] { node_->Changed(kNotifyLastSet); };
    return hive_->Commit(edit);
  }

  RegStatus DeleteValue(const std::wstring& name) override {
    const RegStatus begun = Begin("registry.delete_value", kKeySetValue);
    if (begun != kRegOk) return begun;
    NameTable<RegistryValue>::Removed removed;
    RegistryEdit edit;
    edit.apply = [&](RegistryNode&) {
      if (node_->deleted) return kRegKeyDeleted;
      const RegistryValue* value = node_->values.Find(name);
      if (value == nullptr) return kRegNotFound;
      removed = node_->values.Remove(*value);
      edit.changed = true;
      return kRegOk;
    };
    edit.undo = [&] { node_->values.Restore(std::move(removed)); };
    edit.announce = [&] { node_->Changed(kNotifyLastSet); };
    return hive_->Commit(edit);
  }

  RegStatus EnumValue(std::uint32_t index, std::wstring& name) override {
    return Read("registry.enum_value", kKeyQueryValue,
                [&](const RegistryNode& node) { return NameAt(node.values, index, name); });
  }
  RegStatus EnumSubKey(std::uint32_t index, std::wstring& name) override {
    return Read("registry.enum_key", kKeyEnumerateSubKeys,
                [&](const RegistryNode& node) { return NameAt(node.children, index, name); });
  }

  RegStatus NotifyChange(bool subtree, std::uint32_t filter, Event& event) override {
    const RegStatus begun = Begin("registry.notify", kKeyNotify);
    if (begun != kRegOk) return begun;
    if ((filter & (kNotifyName | kNotifyLastSet)) == 0) return kRegInvalidParameter;
    return hive_->Watch(*node_, watch_, {&event, filter, subtree});
  }

  std::unique_ptr<RegistryKey> Duplicate() override {
    if (hive_->faults().Check("registry.duplicate")) return nullptr;
    return std::make_unique<KeyHandle>(hive_, node_, access_);
  }

 private:
  // A planned failure of the operation, or the refusal of a handle without the right.
  RegStatus Begin(FaultOperation operation, std::uint32_t right) {
    if (const auto fault = hive_->faults().Check(operation)) return *fault;
    return (access_ & right) == right ? kRegOk : kRegAccessDenied;
  }
  template <class Body>
  RegStatus Read(FaultOperation operation, std::uint32_t right, Body&& body) {
    const RegStatus begun = Begin(operation, right);
    if (begun != kRegOk) return begun;
    return hive_->Read(
        [&](const RegistryNode&) { return node_->deleted ? kRegKeyDeleted : body(*node_); });
  }
  template <class Item>
  static RegStatus NameAt(const NameTable<Item>& table, std::uint32_t index, std::wstring& name) {
    if (index >= table.size()) return kRegNoMoreItems;
    name = table.at(index)->name;
    return kRegOk;
  }

  std::shared_ptr<RegistryHive> hive_;
  RegistryNodePtr node_;
  std::uint32_t access_;
  RegistryWatch watch_;  // under the hive's lock
};

}  // namespace

RegStatus SimulatedRegistry::OpenKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                                     std::unique_ptr<RegistryKey>& key) {
  key.reset();
  if (const auto fault = hive_->faults().Check("registry.open_key")) return *fault;
  if (const RegStatus status = CheckPath(path); status != kRegOk) return status;
  RegistryNodePtr node = Find(FullPath(root, path));
  if (node == nullptr) return kRegNotFound;
  key = std::make_unique<KeyHandle>(hive_, std::move(node), access);
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
  RegistryNode* topmost = nullptr;  // of the keys that were missing
  RegistryEdit edit;
  RegistryNodePtr node = Find(full_path);  // a key that exists needs no lock between processes
  if (node == nullptr) {
    edit.undo = [&] {
      if (topmost != nullptr) topmost->parent->children.Remove(*topmost);
    };
    edit.announce = [&] { topmost->parent->Changed(kNotifyName); };
    edit.apply = [&](RegistryNode& top) {
      edit.changed = true;
      RegistryNode* made = top.Make(full_path, topmost);
      edit.changed = topmost != nullptr;
      if (made != nullptr) node = made->shared_from_this();
      return made == nullptr ? kRegInvalidParameter : kRegOk;
    };
    const RegStatus status = hive_->Commit(edit);
    if (status != kRegOk) return status;
  }
  key = std::make_unique<KeyHandle>(hive_, std::move(node), access);
  if (created != nullptr) *created = edit.changed;
  return kRegOk;
}

RegStatus SimulatedRegistry::DeleteTree(RegRoot root, const std::wstring& path) {
  if (const auto fault = hive_->faults().Check("registry.delete_tree")) return *fault;
  if (const RegStatus status = CheckPath(path); status != kRegOk) return status;
  const std::wstring full_path = FullPath(root, path);
  RegistryNode* parent = nullptr;
  NameTable<RegistryNode>::Removed removed;
  RegistryEdit edit;
  edit.apply = [&](RegistryNode& top) {
    RegistryNode* node = top.Descend(full_path);
    if (node == nullptr) return kRegNotFound;
    parent = node->parent;
    removed = parent->children.Remove(*node);
    edit.changed = true;
    return kRegOk;
  };
  edit.undo = [&] { parent->children.Restore(std::move(removed)); };
  edit.announce = [&] {
    removed.item->MarkDeleted();
    parent->Changed(kNotifyName);
  };
  return hive_->Commit(edit);
}

}  // namespace orv
