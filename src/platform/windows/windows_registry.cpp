#include <windows.h>

#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/windows/windows_machine.h"

namespace orv {
namespace {

// Enough for most names; a value's name has at most 16,383 characters, a key's 255.
constexpr std::size_t kUsualName = 256;
constexpr std::size_t kLongestName = 32768;
constexpr std::size_t kTextGuard = 2;  // bytes

class KeyHandle {
 public:
  explicit KeyHandle(HKEY key) noexcept : key_(key) {}
  KeyHandle(KeyHandle&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
  KeyHandle& operator=(KeyHandle&&) = delete;
  ~KeyHandle() {
    if (key_ != nullptr) ::RegCloseKey(key_);
  }
  HKEY get() const noexcept { return key_; }

 private:
  HKEY key_;
};

HKEY RootKey(RegRoot root) noexcept {
  switch (root) {
    case RegRoot::CurrentUser:
      return HKEY_CURRENT_USER;
    case RegRoot::ClassesRoot:
      return HKEY_CLASSES_ROOT;
    default:
      return HKEY_LOCAL_MACHINE;
  }
}

// The system would read a name up to its first terminator only, which is another name.
bool HasTerminator(const std::wstring& name) noexcept {
  return name.find(L'\0') != std::wstring::npos;
}

// The system completes text that is stored without its terminator if the memory after it holds one.
// Returns a copy of such text without a terminator around it; empty for bytes that the system
// stores as they are.
std::vector<std::uint8_t> GuardedText(std::uint32_t type, const void* data, std::uint32_t size) {
  const bool is_text = type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
  if (!is_text || data == nullptr || size == 0) return {};
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  if (size % 2 == 0 && bytes[size - 1] == 0 && bytes[size - 2] == 0) return {};
  std::vector<std::uint8_t> copy(kTextGuard + size + kTextGuard, 0xFF);
  std::memset(copy.data(), 0, kTextGuard);
  std::memcpy(copy.data() + kTextGuard, data, size);
  return copy;
}

// Enumerates with a name buffer that grows until the name fits.
template <class Enumerate>
RegStatus EnumerateName(std::wstring& name, Enumerate&& enumerate) {
  std::wstring buffer(kUsualName, L'\0');
  for (;;) {
    auto size = static_cast<DWORD>(buffer.size());
    const LSTATUS status = enumerate(buffer.data(), &size);
    if (status == ERROR_MORE_DATA && buffer.size() < kLongestName) {
      buffer.resize(kLongestName);
      continue;
    }
    if (status == ERROR_SUCCESS) name.assign(buffer, 0, size);
    return status;
  }
}

class WindowsKey final : public RegistryKey {
 public:
  explicit WindowsKey(KeyHandle key) noexcept : key_(std::move(key)) {}

  RegStatus QueryValue(const std::wstring& name, std::uint32_t* type, void* data,
                       std::uint32_t* size) override {
    if (HasTerminator(name)) return kRegNotFound;
    DWORD read_type = REG_NONE;
    DWORD read_size = size != nullptr ? *size : 0;
    const LSTATUS status =
        ::RegQueryValueExW(key_.get(), name.c_str(), nullptr, &read_type, static_cast<BYTE*>(data),
                           size != nullptr ? &read_size : nullptr);
    if (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
      if (type != nullptr) *type = read_type;
      if (size != nullptr) *size = read_size;
    }
    return status;
  }

  RegStatus SetValue(const std::wstring& name, std::uint32_t type, const void* data,
                     std::uint32_t size) override {
    if (HasTerminator(name)) return kRegInvalidParameter;
    const std::vector<std::uint8_t> guarded = GuardedText(type, data, size);
    if (!guarded.empty()) data = guarded.data() + kTextGuard;
    return ::RegSetValueExW(key_.get(), name.c_str(), 0, type, static_cast<const BYTE*>(data),
                            size);
  }

  RegStatus DeleteValue(const std::wstring& name) override {
    if (HasTerminator(name)) return kRegNotFound;
    return ::RegDeleteValueW(key_.get(), name.c_str());
  }

  RegStatus EnumValue(std::uint32_t index, std::wstring& name) override {
    return EnumerateName(name, [&](wchar_t* buffer, DWORD* size) {
      return ::RegEnumValueW(key_.get(), index, buffer, size, nullptr, nullptr, nullptr, nullptr);
    });
  }

  RegStatus EnumSubKey(std::uint32_t index, std::wstring& name) override {
    return EnumerateName(name, [&](wchar_t* buffer, DWORD* size) {
      return ::RegEnumKeyExW(key_.get(), index, buffer, size, nullptr, nullptr, nullptr, nullptr);
    });
  }

  // Independent of the thread that arms it, whose end would signal otherwise. Systems before
  // version 6.2 refuse to be asked for that.
  RegStatus NotifyChange(bool subtree, std::uint32_t filter, Event& event) override {
    const auto arm = [&](DWORD system_filter) {
      return ::RegNotifyChangeKeyValue(key_.get(), subtree, system_filter,
                                       reinterpret_cast<HANDLE>(event.native()), TRUE);
    };
    const LSTATUS status = arm(filter | REG_NOTIFY_THREAD_AGNOSTIC);
    return status == ERROR_INVALID_PARAMETER ? arm(filter) : status;
  }

  std::unique_ptr<RegistryKey> Duplicate() override {
    HANDLE copy = nullptr;
    const HANDLE process = ::GetCurrentProcess();
    if (::DuplicateHandle(process, key_.get(), process, &copy, 0, FALSE, DUPLICATE_SAME_ACCESS) ==
        0)
      return nullptr;
    return std::make_unique<WindowsKey>(KeyHandle(static_cast<HKEY>(copy)));
  }

 private:
  KeyHandle key_;
};

}  // namespace

RegStatus WindowsRegistry::OpenKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                                   std::unique_ptr<RegistryKey>& key) {
  key.reset();
  if (path.empty()) return kRegInvalidParameter;
  if (HasTerminator(path)) return kRegNotFound;
  HKEY opened = nullptr;
  const LSTATUS status =
      ::RegOpenKeyExW(RootKey(root), path.c_str(), 0, access | KEY_WOW64_64KEY, &opened);
  if (status == ERROR_SUCCESS) key = std::make_unique<WindowsKey>(KeyHandle(opened));
  return status;
}

RegStatus WindowsRegistry::CreateKey(RegRoot root, const std::wstring& path, std::uint32_t access,
                                     std::unique_ptr<RegistryKey>& key, bool* created) {
  key.reset();
  if (path.empty() || HasTerminator(path)) return kRegInvalidParameter;
  HKEY opened = nullptr;
  DWORD disposition = 0;
  const LSTATUS status =
      ::RegCreateKeyExW(RootKey(root), path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        access | KEY_WOW64_64KEY, nullptr, &opened, &disposition);
  if (status != ERROR_SUCCESS) return status;
  key = std::make_unique<WindowsKey>(KeyHandle(opened));
  if (created != nullptr) *created = disposition == REG_CREATED_NEW_KEY;
  return status;
}

RegStatus WindowsRegistry::DeleteTree(RegRoot root, const std::wstring& path) {
  if (path.empty()) return kRegInvalidParameter;
  if (HasTerminator(path)) return kRegNotFound;
  HKEY opened = nullptr;
  LSTATUS status = ::RegOpenKeyExW(
      RootKey(root), path.c_str(), 0,
      DELETE | KEY_ENUMERATE_SUB_KEYS | KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_WOW64_64KEY, &opened);
  if (status != ERROR_SUCCESS) return status;
  const KeyHandle key(opened);
  status = ::RegDeleteTreeW(key.get(), nullptr);
  if (status != ERROR_SUCCESS) return status;
  return ::RegDeleteKeyExW(RootKey(root), path.c_str(), KEY_WOW64_64KEY, 0);
}

}  // namespace orv
