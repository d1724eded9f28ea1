#include "properties/property_set_registry.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <exception>
#include <iterator>
#include <optional>
#include <type_traits>
#include <utility>

#include "platform/diagnostics.h"

namespace orv {
namespace {

using Bytes = std::vector<std::uint8_t>;

bool TakeNumber(const Bytes& bytes, boost::any& value) {
  LongValue number;
  if (bytes.size() != sizeof number.value) return false;
  std::memcpy(&number.value, bytes.data(), sizeof number.value);
  value = number;
  return true;
}

bool TakeText(const Bytes& bytes, boost::any& value) {
  std::optional<std::wstring> text = RegistryText(bytes.data(), bytes.size());
  if (!text) return false;
  value = std::move(*text);
  return true;
}

// A list ends with an empty text, so its bytes end with two terminators; a lone one is an empty
// list.
bool EndsAsList(const Bytes& bytes) {
  const std::ptrdiff_t end = bytes.size() == 2 ? 2 : 4;
  return std::ssize(bytes) >= end && std::count(bytes.end() - end, bytes.end(), 0) == end;
}

// Numbers become long, bytes signed bytes, text (the first one of a list) wide text. Returns false
// and leaves `value` unchanged if the registry value is missing, malformed or of another type.
bool ReadProperty(RegistryKey& key, const std::wstring& name, boost::any& value) {
  std::uint32_t type = kRegNone;
  Bytes bytes;
  if (ReadValue(key, name, type, bytes) != kRegOk) return false;
  switch (type) {
    case kRegDword:
      return TakeNumber(bytes, value);
    case kRegBinary:
      value = SignedBytes(bytes.begin(), bytes.end());
      return true;
    case kRegMultiSz:
      if (!EndsAsList(bytes)) return false;
      [[fallthrough]];
    case kRegSz:
    case kRegExpandSz:
      return TakeText(bytes, value);
    default:
      return false;
  }
}

// Integers and bool become REG_DWORD, bytes REG_BINARY, the rest REG_SZ; what is empty becomes the
// number 0. Returns false if it could not be written or has no known kind.
bool WriteProperty(RegistryKey& key, const std::wstring& name, const boost::any& value) {
  const auto write = [&](std::uint32_t type, const void* data, std::size_t size) {
    return key.SetValue(name, type, data, static_cast<std::uint32_t>(size)) == kRegOk;
  };
  const auto write_number = [&](std::int32_t number) {
    return write(kRegDword, &number, sizeof number);
  };
  bool written = false;
  VisitValue(value, [&]<class T>(const T& content) {
    if constexpr (std::is_same_v<T, LongValue> || std::is_integral_v<T>) {
      written = write_number(*IntegerOf(value));
    } else if constexpr (std::is_same_v<T, SignedBytes> || std::is_same_v<T, UnsignedBytes>) {
      written =
          content.empty() ? write_number(0) : write(kRegBinary, content.data(), content.size());
    } else {
      const std::wstring text = *WideTextOf(value);
      const Bytes bytes = RegistryTextBytes(text);
      written = text.empty() ? write_number(0) : write(kRegSz, bytes.data(), bytes.size());
    }
  });
  return written;
}

// How often a reload that waits for a lock checks the stop event.
constexpr std::chrono::milliseconds kLockRetry{5};

// Holds the lock (if there is one), or gives up if the stop event is signalled first: the thread
// that stops the watch may hold the lock while it waits for the watch to end.
class StoppableLock {
 public:
  StoppableLock(RecursiveMutex* mutex, Event& stop) {
    if (mutex == nullptr) return;
    held_ = std::unique_lock(*mutex, std::defer_lock);
    while (!stopped_ && !held_.try_lock()) stopped_ = stop.Wait(kLockRetry);
  }
  bool stopped() const noexcept { return stopped_; }

 private:
  std::unique_lock<RecursiveMutex> held_;
  bool stopped_ = false;
};

}  // namespace

ORVPropertySetRegistry::~ORVPropertySetRegistry() {
  thread_.Stop(0);
  ORVPropertySetRegistry::SetPropertySet(nullptr);
}

ORVPropertySetRegistry::Binding ORVPropertySetRegistry::Current() const {
  const std::lock_guard guard(state_lock_);
  return binding_;
}

void ORVPropertySetRegistry::Remember(const std::wstring& value_name) {
  const std::lock_guard guard(state_lock_);
  value_name_ = value_name;
}

void ORVPropertySetRegistry::OnPropertyChanged(ORVPropertySet&, const ORVPropertyEntry&) {
  if (auto_save_) SaveBinary(nullptr);
}

void ORVPropertySetRegistry::SetPropertySet(ORVPropertySet* set) {
  ORVPropertySet* const old = Current().set;
  if (auto_save_ && old != nullptr) old->RemoveNotify(this);
  {
    const std::lock_guard guard(state_lock_);
    binding_.set = set;
  }
  if (auto_save_ && set != nullptr) set->AddNotify(this);
}

bool ORVPropertySetRegistry::SetKey(RegistryKey* key) {
  std::shared_ptr<RegistryKey> held = key == nullptr ? nullptr : key->Duplicate();
  const bool holding = held != nullptr;
  const std::lock_guard guard(state_lock_);
  binding_.key.swap(held);
  return holding;
}

bool ORVPropertySetRegistry::OpenKey(Registry& registry, const std::wstring& path,
                                     std::uint32_t access) {
  std::unique_ptr<RegistryKey> key;
  const bool opened = registry.OpenKey(RegRoot::LocalMachine, path, access, key) == kRegOk;
  const std::lock_guard guard(state_lock_);
  binding_.key = std::move(key);
  return opened;
}

RegistryKey* ORVPropertySetRegistry::GetKey() { return Current().key.get(); }

ImageBytes ORVPropertySetRegistry::ReadImage(const std::wstring& value_name) const {
  const std::shared_ptr<RegistryKey> key = Current().key;
  std::uint32_t type = kRegNone;
  ImageBytes image;
  const bool read = key != nullptr && ReadValue(*key, value_name, type, image) == kRegOk;
  return read && type == kRegBinary ? image : ImageBytes();
}

bool ORVPropertySetRegistry::LoadBinary(const std::wstring& value_name, bool merge,
                                        bool overwrite_existing, bool add_new) {
  ORVPropertySet* const set = Current().set;
  if (set == nullptr) return false;
  const ImageBytes image = ReadImage(value_name);
  if (image.empty()) return false;
  if (merge) {
    set->MergePropertiesBinary(image, overwrite_existing, add_new);
  } else {
    set->Clear();
    if (!set->SetAllPropertiesBinary(image)) return false;
  }
  Remember(value_name);
  return true;
}

bool ORVPropertySetRegistry::SaveBinary(const wchar_t* value_name) {
  std::wstring name;
  if (value_name != nullptr) {
    name = value_name;
  } else {
    const std::lock_guard guard(state_lock_);
    name = value_name_;
  }
  const bool written = SaveBinaryAs(name);
  if (written && value_name != nullptr) Remember(name);
  return written;
}

bool ORVPropertySetRegistry::SaveBinaryAs(const std::wstring& value_name) {
  const Binding bound = Current();
  if (bound.set == nullptr || bound.key == nullptr) return false;
  return bound.set->UseAllPropertiesBinary([&](std::span<const std::uint8_t> image) {
    if (image.empty()) {
      Diagnose(ORV_HERE("ORVPropertySetRegistry::SaveBinary"),
               L"GetAllPropertiesBinary returned 0 length.\n");
      return false;
    }
    const auto size = static_cast<std::uint32_t>(image.size());
    return size == image.size() &&
           bound.key->SetValue(value_name, kRegBinary, image.data(), size) == kRegOk;
  });
}

bool ORVPropertySetRegistry::LoadValues() {
  const auto [set, key] = Current();
  if (set == nullptr || key == nullptr) return false;
  set->Clear();
  bool complete = true;
  std::wstring name;
  for (std::uint32_t index = 0; key->EnumValue(index, name) == kRegOk; ++index) {
    boost::any value;
    if (ReadProperty(*key, name, value))
      set->SetProperty(name.c_str(), value);
    else
      complete = false;
  }
  return complete;
}

bool ORVPropertySetRegistry::SaveValues() {
  const auto [set, key] = Current();
  if (set == nullptr || key == nullptr) return false;
  ORVPropertyList list;
  set->GetAllProperties(list);
  bool complete = true;
  for (const ORVPropertyEntry& entry : list)
    complete = WriteProperty(*key, entry.name, entry.value) && complete;
  return complete;
}

// Ignores the name: an image is saved to the value that it was last loaded from or saved to.
void ORVPropertySetRegistry::EnableAutoSave(bool enable, const std::wstring&) {
  if (auto_save_.exchange(enable) == enable) return;
  ORVPropertySet* const set = Current().set;
  if (set == nullptr) return;
  if (enable)
    set->AddNotify(this);
  else
    set->RemoveNotify(this);
}

bool ORVPropertySetRegistry::StartWatch(bool start, const std::wstring& value_name) {
  thread_.Stop(0);
  {
    const std::lock_guard guard(state_lock_);
    watch_value_name_ = start ? value_name : std::wstring();
  }
  return !start || thread_.Start(this);
}

// A reload that fails (for example because memory runs out) does not end the watch.
void ORVPropertySetRegistry::Reload(const std::wstring& value_name, Event& stop) {
  const StoppableLock owner_lock(reload_lock_, stop);
  ORVPropertySet* const set = Current().set;
  if (owner_lock.stopped() || set == nullptr) return;
  const StoppableLock set_lock(set->lock(), stop);
  if (set_lock.stopped()) return;
  try {
    LoadBinary(value_name, true, true, false);
  } catch (const std::exception&) {
  }
}

// Armed before each reload: a write that comes between the two wakes the watch once more, and then
// changes nothing.
bool ORVPropertySetRegistry::Run(ORVThreadBasic&, Event& stop) {
  std::wstring value_name;
  {
    const std::lock_guard guard(state_lock_);
    value_name = watch_value_name_;
  }
  // On the heap: the registry still refers to it if this thread is terminated.
  const auto changed = std::make_unique<Event>(Event::Kind::AutoReset);
  std::unique_ptr<RegistryKey> key;
  if (const std::shared_ptr<RegistryKey> bound = Current().key) key = bound->Duplicate();
  constexpr std::size_t kChanged = 1;
  Event* const events[] = {&stop, changed.get()};
  std::optional<std::size_t> woken = kChanged;
  while (woken == kChanged) {
    const bool armed =
        key != nullptr && key->NotifyChange(false, kNotifyLastSet, *changed) == kRegOk;
    Reload(value_name, stop);
    if (!armed) break;
    woken = WaitAny(events);
  }
  return true;
}

}  // namespace orv
