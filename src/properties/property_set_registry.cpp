#include "properties/property_set_registry.h"

#include <utility>

#include "platform/diagnostics.h"
#include "properties/registry_property.h"

namespace orv {

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

bool ORVPropertySetRegistry::OnPropertyChanging(ORVPropertySet&, const ORVPropertyEntry&) {
  return false;
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

RegistryKey* ORVPropertySetRegistry::GetKey() { return Current().key.get(); }

bool ORVPropertySetRegistry::LoadBinary(const std::wstring& value_name, bool merge,
                                        bool overwrite_existing, bool add_new) {
  const auto [set, key] = Current();
  if (set == nullptr || key == nullptr) return false;
  std::uint32_t type = kRegNone;
  ImageBytes image;
  if (ReadValue(*key, value_name, type, image) != kRegOk) return false;
  if (type != kRegBinary || image.empty()) return false;
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
  const Binding bound = Current();
  if (bound.set == nullptr || bound.key == nullptr) return false;
  const bool written = bound.set->UseAllPropertiesBinary([&](std::span<const std::uint8_t> image) {
    if (image.empty()) {
      Diagnose(ORV_HERE("ORVPropertySetRegistry::SaveBinary"),
               L"GetAllPropertiesBinary returned 0 length.\n");
      return false;
    }
    const auto size = static_cast<std::uint32_t>(image.size());
    return size == image.size() &&
           bound.key->SetValue(name, kRegBinary, image.data(), size) == kRegOk;
  });
  if (written && value_name != nullptr) Remember(name);
  return written;
}

bool ORVPropertySetRegistry::LoadValues() {
  const auto [set, key] = Current();
  if (set == nullptr || key == nullptr) return false;
  set->Clear();
  bool complete = true;
  std::wstring name;
  for (std::uint32_t index = 0; key->EnumValue(index, name) == kRegOk; ++index) {
    boost::any value;
    if (ReadRegistryProperty(*key, name, value))
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
    complete = WriteRegistryProperty(*key, entry.name, entry.value) && complete;
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

}  // namespace orv
