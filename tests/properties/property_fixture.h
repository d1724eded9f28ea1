// A property set on a simulated machine, a listener, and texts of sets.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "properties/property_set_registry.h"
#include "simulated/simulated_machine.h"
#include "support/machine_registry.h"

namespace orv::test {

inline constexpr std::chrono::milliseconds kDeadline{10000};

// A property set bound to a key of a simulated machine.
struct BoundSet {
  explicit BoundSet(Machine& machine) : key(MachineKey(machine, L"SOFTWARE\\Test")) {
    binding.SetKey(key.get());
    binding.SetPropertySet(&set);
  }
  std::unique_ptr<RegistryKey> key;
  ORVPropertySetThreadsafe set;
  ORVPropertySetRegistry binding;
};

// Records its notifications as "name=text", then calls `on_changed` or `on_changing`.
class Listener : public IORVPropertySetNotify {
 public:
  void OnPropertyChanged(ORVPropertySet& set, const ORVPropertyEntry& entry) override {
    Note(changed_, entry);
    if (on_changed) on_changed(set, entry);
  }
  bool OnPropertyChanging(ORVPropertySet& set, const ORVPropertyEntry& entry) override {
    Note(changing_, entry);
    if (on_changing) on_changing(set, entry);
    return true;
  }
  std::vector<std::wstring> changed() const { return Copy(changed_); }
  std::vector<std::wstring> changing() const { return Copy(changing_); }

  std::function<void(ORVPropertySet&, const ORVPropertyEntry&)> on_changed;
  std::function<void(ORVPropertySet&, const ORVPropertyEntry&)> on_changing;

 private:
  void Note(std::vector<std::wstring>& notes, const ORVPropertyEntry& entry) {
    const std::lock_guard guard(lock_);
    notes.push_back(entry.name + L"=" + WideTextOf(entry.value).value_or(L"?"));
  }
  std::vector<std::wstring> Copy(const std::vector<std::wstring>& notes) const {
    const std::lock_guard guard(lock_);
    return notes;
  }
  mutable std::mutex lock_;
  std::vector<std::wstring> changed_, changing_;
};

inline std::wstring TextOf(ORVPropertySet& set, const wchar_t* name) {
  std::wstring text = L"(none)";
  set.GetProperty(name, text);
  return text;
}

// A list as "name=text name=text".
inline std::wstring Content(const ORVPropertyList& list) {
  std::wstring content;
  for (const ORVPropertyEntry& entry : list)
    content +=
        (content.empty() ? L"" : L" ") + entry.name + L"=" + WideTextOf(entry.value).value_or(L"?");
  return content;
}
inline std::wstring Content(ORVPropertySet& set) {
  ORVPropertyList list;
  set.GetAllProperties(list);
  return Content(list);
}

}  // namespace orv::test
