// Named things in the order in which they were added, found by name without regard to letter case.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

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

}  // namespace orv
