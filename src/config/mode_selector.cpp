#include "config/mode_selector.h"

namespace orv {
namespace {

constexpr std::uint32_t kModeAccess = kKeyQueryValue | kKeySetValue | kKeyNotify | kKeyWow64_64;
static_assert(kModeAccess == 0x113);

}  // namespace

ORVAPOModeSelector::ORVAPOModeSelector(Machine& machine) : machine_(machine) {
  binding_.SetReloadLock(&lock_);
  set_.AddNotify(this);
}

ORVAPOModeSelector::~ORVAPOModeSelector() {
  ORVAPOModeSelector::SetNotifyTarget(nullptr);
  set_.RemoveNotify(this);
}

void ORVAPOModeSelector::OnPropertyChanged(ORVPropertySet&, const ORVPropertyEntry& entry) {
  const std::lock_guard lock(lock_);
  ORVQVTValue value;
  if (target_ != nullptr && AssignFromProperty(entry.value, value)) target_->OnModeChanged();
}

bool ORVAPOModeSelector::Init(const std::wstring& registry_path, const ORVAPOModeKey& default_key) {
  const std::lock_guard lock(lock_);
  // A running watch follows a duplicate of the binding's key: it ends before the key changes.
  binding_.StartWatch(false, kCurrentModeValue);
  default_key.AsList().SaveToPropertySet(set_);
  const bool opened = binding_.OpenKey(machine_.registry(), registry_path, kModeAccess);
  if (opened) {
    binding_.SetPropertySet(&set_);
    binding_.LoadBinary(kCurrentModeValue, true, true, true);
  }
  SwitchWatch();
  return opened;
}

bool ORVAPOModeSelector::SetCurrentMode(const ORVAPOModeKey& key) {
  const std::lock_guard lock(lock_);
  key.AsList().SaveToPropertySet(set_);
  return binding_.GetKey() != nullptr && binding_.SaveBinary(kCurrentModeValue);
}

bool ORVAPOModeSelector::GetCurrentMode(ORVAPOModeKey& key) {
  const std::lock_guard lock(lock_);
  // The replacing load notifies no listener, and after it the watch would find no change.
  if (target_ != nullptr) binding_.LoadBinary(kCurrentModeValue, true, true, false);
  const bool loaded =
      binding_.GetKey() != nullptr && binding_.LoadBinary(kCurrentModeValue, false, true, true);
  ORVQVTValueList list;
  list.LoadFromPropertySet(set_);
  key.ReadFrom(list);
  return loaded && key.IsValid();
}

bool ORVAPOModeSelector::SetNotifyTarget(IORVModeNotify* target) {
  const std::lock_guard lock(lock_);
  target_ = target;
  return SwitchWatch();
}

// Stopping takes no memory: the destructor does it, too.
bool ORVAPOModeSelector::SwitchWatch() {
  return target_ != nullptr ? binding_.StartWatch(true, kCurrentModeValue)
                            : binding_.StartWatch(false, std::wstring());
}

bool ORVAPOModeSelector::DeleteStoredMode() {
  const std::lock_guard lock(lock_);
  RegistryKey* const key = binding_.GetKey();
  return key != nullptr && key->DeleteValue(kCurrentModeValue) == kRegOk;
}

}  // namespace orv
