// The registry as callers of the platform know it: predefined roots, keys opened with access
// rights, typed values, change notification. All access is in the 64-bit view.
//
// Key paths are separated by backslashes; key and value names are found without regard to letter
// case and keep the spelling they were created with. Results are the platform's system error codes.
// The predefined roots themselves cannot be opened: an empty path gives kRegInvalidParameter.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/synchronization.h"

namespace orv {

using RegStatus = std::int32_t;
inline constexpr RegStatus kRegOk = 0;
inline constexpr RegStatus kRegNotFound = 2;
inline constexpr RegStatus kRegAccessDenied = 5;
inline constexpr RegStatus kRegInvalidHandle = 6;
inline constexpr RegStatus kRegOutOfMemory = 14;
inline constexpr RegStatus kRegWriteFault = 29;
inline constexpr RegStatus kRegInvalidParameter = 87;
inline constexpr RegStatus kRegMoreData = 234;
inline constexpr RegStatus kRegNoMoreItems = 259;
inline constexpr RegStatus kRegKeyDeleted = 1018;

enum class RegRoot { LocalMachine, CurrentUser, ClassesRoot };

// Value types. Others exist and are kept as they are.
inline constexpr std::uint32_t kRegNone = 0;
inline constexpr std::uint32_t kRegSz = 1;
inline constexpr std::uint32_t kRegExpandSz = 2;
inline constexpr std::uint32_t kRegBinary = 3;
inline constexpr std::uint32_t kRegDword = 4;
inline constexpr std::uint32_t kRegMultiSz = 7;
inline constexpr std::uint32_t kRegQword = 11;

// Access rights, to be combined.
inline constexpr std::uint32_t kKeyQueryValue = 0x0001;
inline constexpr std::uint32_t kKeySetValue = 0x0002;
inline constexpr std::uint32_t kKeyCreateSubKey = 0x0004;
inline constexpr std::uint32_t kKeyEnumerateSubKeys = 0x0008;
inline constexpr std::uint32_t kKeyNotify = 0x0010;
inline constexpr std::uint32_t kKeyWow64_64 = 0x0100;
inline constexpr std::uint32_t kKeyRead = 0x20019;
inline constexpr std::uint32_t kKeyWrite = 0x20006;

// What a notification reports (NotifyChange).
inline constexpr std::uint32_t kNotifyName = 1;     // sub-keys created or deleted
inline constexpr std::uint32_t kNotifyLastSet = 4;  // values set or deleted

// One open key; destroying it closes it (a notification armed on it then signals its event). An
// operation whose access right was not asked for at opening answers kRegAccessDenied. May be used
// from several threads.
class RegistryKey {
 public:
  virtual ~RegistryKey() = default;

  // Type and size in bytes of a value; with `data`, also its bytes. `size` goes in as the room in
  // `data` and comes out as the value's size; too little room gives kRegMoreData, and what `data`
  // holds then is undefined. An empty name is the unnamed value.
  virtual RegStatus QueryValue(const std::wstring& name, std::uint32_t* type, void* data,
                               std::uint32_t* size) = 0;
  // Stores the bytes as they are, text without its terminator included.
  virtual RegStatus SetValue(const std::wstring& name, std::uint32_t type, const void* data,
                             std::uint32_t size) = 0;
  virtual RegStatus DeleteValue(const std::wstring& name) = 0;
  // Name of the value (or sub-key) at a position counted from 0; kRegNoMoreItems past the last.
  virtual RegStatus EnumValue(std::uint32_t index, std::wstring& name) = 0;
  virtual RegStatus EnumSubKey(std::uint32_t index, std::wstring& name) = 0;
  // Arms one notification: `event` is signalled at the next change that `filter` names, once. Must
  // be armed again afterwards. Changes of any process count; a write of the same bytes need not
  // signal. The event must outlive the key or the signal. The end of the arming thread signals too
  // on some older systems.
  virtual RegStatus NotifyChange(bool subtree, std::uint32_t filter, Event& event) = 0;
  // A second handle of the same key with the same rights; null if the system refuses it.
  virtual std::unique_ptr<RegistryKey> Duplicate() = 0;
};

class Registry {
 public:
  virtual ~Registry() = default;

  virtual RegStatus OpenKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                            std::unique_ptr<RegistryKey>& key) = 0;
  // Opens the key, creating it and its missing parents. `created` (may be null) is set to whether
  // it did.
  virtual RegStatus CreateKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                              std::unique_ptr<RegistryKey>& key, bool* created) = 0;
  // Deletes a key with everything below it.
  virtual RegStatus DeleteTree(RegRoot root, const std::wstring& path) = 0;
};

// Reads a whole value; kRegOk fills type and bytes. A value that grows between the two steps is
// asked for again.
RegStatus ReadValue(RegistryKey& key, const std::wstring& name, std::uint32_t& type,
                    std::vector<std::uint8_t>& bytes);

// Registry text between its stored form (16-bit units, little-endian) and wide text. RegistryText
// returns nullopt for an odd size or a missing terminator; zero bytes are empty text. The text ends
// at the first terminator.
std::optional<std::wstring> RegistryText(const std::uint8_t* bytes, std::size_t size);
std::vector<std::uint8_t> RegistryTextBytes(std::wstring_view text);  // with terminator

}  // namespace orv
