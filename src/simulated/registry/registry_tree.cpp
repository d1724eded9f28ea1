#include "simulated/registry/registry_tree.h"

#include <algorithm>

namespace orv {

bool RegistryValue::Holds(std::uint32_t other_type,
                          std::span<const std::uint8_t> other_bytes) const noexcept {
  return type == other_type && std::ranges::equal(bytes, other_bytes);
}

void RegistryWatch::SignalAll() noexcept {
  for (const Armed& entry : armed) entry.event->Set();
  armed.clear();
}

void RegistryWatch::Signal(std::uint32_t change, bool below) noexcept {
  const auto waits = [&](const Armed& entry) {
    return (entry.filter & change) != 0 && (!below || entry.subtree);
  };
  for (const Armed& entry : armed)
    if (waits(entry)) entry.event->Set();
  std::erase_if(armed, waits);
}

RegistryNode& RegistryNode::AddChild(std::wstring_view child_name) {
  auto child = std::make_shared<RegistryNode>();
  child->name = child_name;
  child->parent = this;
  return children.Add(std::move(child));
}

RegistryValue& RegistryNode::AddValue(std::wstring value_name, std::uint32_t type,
                                      std::vector<std::uint8_t>&& bytes) {
  return values.Add(std::make_shared<RegistryValue>(
      RegistryValue{std::move(value_name), type, std::move(bytes)}));
}

RegistryNode* RegistryNode::Descend(std::wstring_view path) {
  RegistryNode* node = this;
  for (auto element = NextPathElement(path); node != nullptr && !element.empty();
       element = NextPathElement(path))
    node = node->Child(element);
  return node;
}

RegistryNode* RegistryNode::Make(std::wstring_view path, RegistryNode*& topmost) {
  RegistryNode* node = this;
  std::size_t depth = 0;
  for (auto element = NextPathElement(path); !element.empty(); element = NextPathElement(path)) {
    if (++depth > kRegistryDepth) return nullptr;
    RegistryNode* child = node->Child(element);
    if (child == nullptr) {
      child = &node->AddChild(element);
      if (topmost == nullptr) topmost = child;
    }
    node = child;
  }
  return node;
}

void RegistryNode::Changed(std::uint32_t change) const noexcept {
  for (const RegistryNode* node = this; node != nullptr; node = node->parent)
    for (RegistryWatch* watch : node->watches) watch->Signal(change, node != this);
}

void RegistryNode::MarkDeleted() noexcept {
  deleted = true;
  parent = nullptr;
  for (RegistryWatch* watch : watches) watch->SignalAll();
  for (const auto& child : children) child->MarkDeleted();
}

std::wstring_view NextPathElement(std::wstring_view& path) noexcept {
  path.remove_prefix(std::min(path.find_first_not_of(L'\\'), path.size()));
  const std::wstring_view element = path.substr(0, path.find(L'\\'));
  path.remove_prefix(element.size());
  return element;
}

RegistryNodePtr MakeEmptyRegistry() {
  auto root = std::make_shared<RegistryNode>();
  root->AddChild(kLocalMachineName);
  root->AddChild(kCurrentUserName);
  return root;
}

bool IsStorableName(std::wstring_view name) noexcept {
  return name.find_first_of(std::wstring_view(L"\0\r\n", 3)) == std::wstring_view::npos;
}

namespace {

bool SameValues(const NameTable<RegistryValue>& current, const NameTable<RegistryValue>& fresh) {
  return current.size() == fresh.size() &&
         std::all_of(fresh.begin(), fresh.end(), [&](const std::shared_ptr<RegistryValue>& value) {
           const RegistryValue* held = current.Find(value->name);
           return held != nullptr && held->Holds(value->type, value->bytes);
         });
}

// Replaces the fresh keys by the current ones of the same name. Returns whether keys came or went.
bool ReconcileChildren(RegistryNode& current, RegistryNode& fresh) {
  const auto same_name = [](const RegistryNodePtr& held, const RegistryNodePtr& other) {
    return EqualsIgnoringCase(held->name, other->name);
  };
  if (std::equal(current.children.begin(), current.children.end(), fresh.children.begin(),
                 fresh.children.end(), same_name))
    return false;
  NameTable<RegistryNode> merged;
  bool changed = current.children.size() != fresh.children.size();
  for (const auto& child : fresh.children) {
    RegistryNode* held = current.Child(child->name);
    if (held == nullptr) {
      changed = true;
      child->parent = &current;
      merged.Add(child);
    } else {
      merged.Add(held->shared_from_this());
    }
  }
  for (const auto& child : current.children) {
    if (merged.Find(child->name) == nullptr) {
      changed = true;
      child->MarkDeleted();
    }
  }
  current.children = std::move(merged);
  return changed;
}

}  // namespace

void ReconcileTree(RegistryNode& current, RegistryNode& fresh) {
  const bool values_changed = !SameValues(current.values, fresh.values);
  current.values = std::move(fresh.values);
  const bool keys_changed = ReconcileChildren(current, fresh);
  for (const auto& child : current.children) {
    RegistryNode* other = fresh.Child(child->name);
    if (other != nullptr && other != child.get()) ReconcileTree(*child, *other);
  }
  if (values_changed) current.Changed(kNotifyLastSet);
  if (keys_changed) current.Changed(kNotifyName);
}

}  // namespace orv
