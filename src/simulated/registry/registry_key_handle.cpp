#include "simulated/registry/registry_key_handle.h"

#include <cstring>

namespace orv {
namespace {

constexpr std::size_t kLongestValueName = 16383;  // units, as on the platform

class SetValueEdit final : public RegistryEdit {
 public:
  SetValueEdit(RegistryNode& node, const std::wstring& name, std::uint32_t type,
               std::span<const std::uint8_t> bytes)
      : node_(node), name_(name), type_(type), bytes_(bytes.begin(), bytes.end()) {}

  RegStatus Apply(RegistryNode&) override {
    if (node_.deleted) return kRegKeyDeleted;
    value_ = node_.values.Find(name_);
    if (value_ == nullptr) {
      value_ = &node_.AddValue(name_, type_, std::move(bytes_));
      changed = added_ = true;
    } else if (!value_->Holds(type_, bytes_)) {
      Exchange();
      changed = true;
    }
    return kRegOk;
  }
  void Undo() noexcept override {
    if (added_)
      node_.values.Remove(*value_);
    else
      Exchange();
  }
  void Announce() noexcept override { node_.Changed(kNotifyLastSet); }

 private:
  void Exchange() noexcept {
    std::swap(value_->type, type_);
    value_->bytes.swap(bytes_);
  }

  RegistryNode& node_;
  const std::wstring& name_;
  std::uint32_t type_;
  std::vector<std::uint8_t> bytes_;
  RegistryValue* value_ = nullptr;
  bool added_ = false;
};

class DeleteValueEdit final : public RegistryEdit {
 public:
  DeleteValueEdit(RegistryNode& node, const std::wstring& name) : node_(node), name_(name) {}

  RegStatus Apply(RegistryNode&) override {
    if (node_.deleted) return kRegKeyDeleted;
    const RegistryValue* value = node_.values.Find(name_);
    if (value == nullptr) return kRegNotFound;
    removed_ = node_.values.Remove(*value);
    changed = true;
    return kRegOk;
  }
  void Undo() noexcept override { node_.values.Restore(std::move(removed_)); }
  void Announce() noexcept override { node_.Changed(kNotifyLastSet); }

 private:
  RegistryNode& node_;
  const std::wstring& name_;
  NameTable<RegistryValue>::Removed removed_;
};

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

}  // namespace

bool IsStorableName(std::wstring_view name) noexcept {
  return name.find_first_of(std::wstring_view(L"\0\r\n", 3)) == std::wstring_view::npos;
}

RegStatus RegistryKeyHandle::Begin(FaultOperation operation, std::uint32_t right) {
  if (const auto fault = hive_->faults().Check(operation)) return *fault;
  return (access_ & right) == right ? kRegOk : kRegAccessDenied;
}

template <class Body>
RegStatus RegistryKeyHandle::Read(Body&& body) {
  return hive_->Read(
      [&](const RegistryNode&) { return node_->deleted ? kRegKeyDeleted : body(*node_); });
}

RegStatus RegistryKeyHandle::QueryValue(const std::wstring& name, std::uint32_t* type, void* data,
                                        std::uint32_t* size) {
  const RegStatus begun = Begin("registry.query_value", kKeyQueryValue);
  if (begun != kRegOk) return begun;
  if (data != nullptr && size == nullptr) return kRegInvalidParameter;
  return Read([&](const RegistryNode& node) {
    const RegistryValue* value = node.values.Find(name);
    return value == nullptr ? kRegNotFound : CopyOut(*value, type, data, size);
  });
}

RegStatus RegistryKeyHandle::SetValue(const std::wstring& name, std::uint32_t type,
                                      const void* data, std::uint32_t size) {
  const RegStatus begun = Begin("registry.set_value", kKeySetValue);
  if (begun != kRegOk) return begun;
  if (data == nullptr && size != 0) return kRegInvalidParameter;
  if (name.size() > kLongestValueName || !IsStorableName(name)) return kRegInvalidParameter;
  SetValueEdit edit(*node_, name, type, {static_cast<const std::uint8_t*>(data), size});
  return hive_->Commit(edit);
}

RegStatus RegistryKeyHandle::DeleteValue(const std::wstring& name) {
  const RegStatus begun = Begin("registry.delete_value", kKeySetValue);
  if (begun != kRegOk) return begun;
  DeleteValueEdit edit(*node_, name);
  return hive_->Commit(edit);
}

RegStatus RegistryKeyHandle::EnumValue(std::uint32_t index, std::wstring& name) {
  const RegStatus begun = Begin("registry.enum_value", kKeyQueryValue);
  if (begun != kRegOk) return begun;
  return Read([&](const RegistryNode& node) {
    if (index >= node.values.size()) return kRegNoMoreItems;
    name = node.values.at(index)->name;
    return kRegOk;
  });
}

RegStatus RegistryKeyHandle::EnumSubKey(std::uint32_t index, std::wstring& name) {
  const RegStatus begun = Begin("registry.enum_key", kKeyEnumerateSubKeys);
  if (begun != kRegOk) return begun;
  return Read([&](const RegistryNode& node) {
    if (index >= node.children.size()) return kRegNoMoreItems;
    name = node.children.at(index)->name;
    return kRegOk;
  });
}

RegStatus RegistryKeyHandle::NotifyChange(bool subtree, std::uint32_t filter, Event& event) {
  const RegStatus begun = Begin("registry.notify", kKeyNotify);
  if (begun != kRegOk) return begun;
  if ((filter & (kNotifyName | kNotifyLastSet)) == 0) return kRegInvalidParameter;
  return hive_->Watch(*node_, watch_, {&event, filter, subtree});
}

std::unique_ptr<RegistryKey> RegistryKeyHandle::Duplicate() {
  if (hive_->faults().Check("registry.duplicate")) return nullptr;
  return std::make_unique<RegistryKeyHandle>(hive_, node_, access_);
}

}  // namespace orv
