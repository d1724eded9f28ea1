// The keys and values of a simulated registry, as they are in memory, and the notifications armed
// on them. Not synchronised: the registry that owns the tree locks around every use.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/registry.h"
#include "platform/text.h"

namespace orv {

struct NameHash {
  std::size_t operator()(std::wstring_view name) const noexcept {
    std::uint64_t hash = 0xCBF29CE484222325U;  // FNV-1a, 64 bits
    for (const wchar_t unit : name)
      hash = (hash ^ static_cast<std::uint64_t>(FoldAscii(unit))) * 0x100000001B3U;
    return static_cast<std::size_t>(hash);
  }
};

struct NameEqual {
  bool operator()(std::wstring_view a, std::wstring_view b) const noexcept {
    return EqualsIgnoringCase(a, b);
  }
};

// Named items in the order in which they were added, found by name without regard to letter case.
// Item has a member `name` that does not change while the item is in the table.
template <class Item>
class NameTable {
 public:
  using Pointer = std::shared_ptr<Item>;
  // The names are those of the items themselves.
  using Index = std::unordered_map<std::wstring_view, Item*, NameHash, NameEqual>;

  // An item taken out, with what it needs to go back to its place without allocating.
  struct Removed {
    Pointer item;
    std::size_t position = 0;
    typename Index::node_type entry;
  };

  std::size_t size() const noexcept { return order_.size(); }
  bool empty() const noexcept { return order_.empty(); }
  auto begin() const noexcept { return order_.begin(); }
  auto end() const noexcept { return order_.end(); }
  const Pointer& at(std::size_t position) const { return order_[position]; }

  Item* Find(std::wstring_view name) const {
    if (index_.empty()) {
      const auto place = std::find_if(order_.begin(), order_.end(), [&](const Pointer& held) {
        return EqualsIgnoringCase(held->name, name);
      });
      return place == order_.end() ? nullptr : place->get();
    }
    const auto found = index_.find(name);
    return found == index_.end() ? nullptr : found->second;
  }

  // Adds an item whose name is not in the table yet.
  Item& Add(Pointer item) {
    if (order_.size() == order_.capacity())
      order_.reserve(std::max<std::size_t>(4, 2 * order_.size()));
    Item& added = *item;
    if (index_.empty() && order_.size() == kLargestWithoutIndex) index_ = MakeIndex();
    if (!index_.empty()) index_.emplace(std::wstring_view(added.name), &added);
    order_.push_back(std::move(item));
    return added;
  }

  Removed Remove(const Item& item) noexcept {
    const auto place = std::find_if(order_.begin(), order_.end(),
                                    [&](const Pointer& held) { return held.get() == &item; });
    Removed removed{std::move(*place), static_cast<std::size_t>(place - order_.begin()),
                    index_.extract(std::wstring_view(item.name))};
    order_.erase(place);
    return removed;
  }

  // Undoes the latest removal.
  void Restore(Removed&& removed) noexcept {
    index_.insert(std::move(removed.entry));
    order_.insert(order_.begin() + static_cast<std::ptrdiff_t>(removed.position),
                  std::move(removed.item));
  }

 private:
  // Most tables hold a few items: comparing their names is faster than an index and takes no
  // memory.
  static constexpr std::size_t kLargestWithoutIndex = 12;

  Index MakeIndex() const {
    Index index;
    index.reserve(2 * order_.size());
    for (const Pointer& item : order_) index.emplace(std::wstring_view(item->name), item.get());
    return index;
  }

  std::vector<Pointer> order_;
  Index index_;  // of all items, or empty
};

struct RegistryValue {
  std::wstring name;
  std::uint32_t type = kRegNone;
  std::vector<std::uint8_t> bytes;

  bool Holds(std::uint32_t other_type, std::span<const std::uint8_t> other_bytes) const noexcept;
};

// The notifications armed through one key handle; each event is signalled once.
struct RegistryWatch {
  struct Armed {
    Event* event;
    std::uint32_t filter;
    bool subtree;
  };
  std::vector<Armed> armed;
  bool attached = false;  // the key knows of it

  void SignalAll() noexcept;
  // Signals the events that wait for such a change, at the watched key itself or below it.
  void Signal(std::uint32_t change, bool below) noexcept;
};

struct RegistryNode : std::enable_shared_from_this<RegistryNode> {
  std::wstring name;
  RegistryNode* parent = nullptr;  // none once the key is deleted
  bool deleted = false;
  NameTable<RegistryValue> values;
  NameTable<RegistryNode> children;
  std::vector<RegistryWatch*> watches;  // owned by the key handles

  RegistryNode* Child(std::wstring_view child_name) const { return children.Find(child_name); }
  RegistryNode& AddChild(std::wstring_view child_name);
  RegistryValue& AddValue(std::wstring value_name, std::uint32_t type,
                          std::vector<std::uint8_t>&& bytes);
  // The key at a path below this one; null if it does not exist.
  RegistryNode* Descend(std::wstring_view path);
  // The key at a path below this one, made if it is missing; null if it would be too deep.
  // `topmost` becomes the topmost key that was made, also if this throws or returns null.
  RegistryNode* Make(std::wstring_view path, RegistryNode*& topmost);
  // Signals a change of this key (kNotifyName or kNotifyLastSet) to it and the keys above it.
  void Changed(std::uint32_t change) const noexcept;
  // Marks this key and all below it as deleted and signals the watches of all of them.
  void MarkDeleted() noexcept;
};

using RegistryNodePtr = std::shared_ptr<RegistryNode>;

inline constexpr std::wstring_view kLocalMachineName = L"HKEY_LOCAL_MACHINE";
inline constexpr std::wstring_view kCurrentUserName = L"HKEY_CURRENT_USER";
inline constexpr std::wstring_view kClassesRootName = L"HKEY_CLASSES_ROOT";
// The classes root is a view of this key.
inline constexpr std::wstring_view kClassesPath = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes";

// A registry with two empty roots: the local machine and the current user.
RegistryNodePtr MakeEmptyRegistry();

// Names are kept in a text file line by line, so those with line ends or a NUL are refused.
bool IsStorableName(std::wstring_view name) noexcept;

// The greatest depth of a key, as on the platform.
inline constexpr std::size_t kRegistryDepth = 512;

// The next element of a path, which loses it; empty elements are passed over.
std::wstring_view NextPathElement(std::wstring_view& path) noexcept;

// Turns `current` into `fresh`, keeping the identity of every key that exists in both, and signals
// what really changed. `fresh` is used up.
void ReconcileTree(RegistryNode& current, RegistryNode& fresh);

}  // namespace orv
