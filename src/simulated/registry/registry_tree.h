// The keys and values of a simulated registry, as they are in memory, and the notifications armed
// on them. Not synchronised: the registry that owns the tree locks around every use.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry.h"
#include "simulated/registry/name_table.h"

namespace orv {

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

// A copy of a key and all below it, without its watches.
RegistryNodePtr CloneTree(const RegistryNode& node);

// Turns `current` into `fresh`, keeping the identity of every key that exists in both, and signals
// what really changed. `fresh` is used up.
void ReconcileTree(RegistryNode& current, RegistryNode& fresh);

}  // namespace orv
