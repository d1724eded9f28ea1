#include "properties/property_set.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/text.h"

namespace orv {

std::unique_lock<RecursiveMutex> ORVPropertySet::Locked() const {
  RecursiveMutex* const mutex = lock();
  return mutex != nullptr ? std::unique_lock(*mutex) : std::unique_lock<RecursiveMutex>();
}

std::size_t ORVPropertySet::FindEntry(const wchar_t* name) const {
  const std::wstring_view wanted(name);
  const auto is_wanted = [&](const ORVPropertyEntry& entry) {
    return EqualsIgnoringCase(entry.name, wanted);
  };
  if (unique_names_) {
    for (const std::size_t likely : {last_found_, last_found_ + 1})
      if (likely < list_.size() && is_wanted(list_[likely])) return last_found_ = likely;
  }
  last_found_ =
      static_cast<std::size_t>(std::find_if(list_.begin(), list_.end(), is_wanted) - list_.begin());
  return last_found_;
}

void ORVPropertySet::GetAllProperties(ORVPropertyList& out) {
  const auto guard = Locked();
  out = list_;
}

bool ORVPropertySet::GetAllPropertiesBinary(ImageBytes& out) {
  const auto guard = Locked();
  const bool complete = image_.Update(list_);
  out = image_.bytes();
  return complete;
}

bool ORVPropertySet::UseAllPropertiesBinary(const ImageUse& use) {
  const auto guard = Locked();
  return image_.Update(list_) && use(image_.bytes());
}

bool ORVPropertySet::SetAllPropertiesBinary(const ImageBytes& image) {
  const auto guard = Locked();
  ORVPropertyList decoded;
  const bool complete = DecodeImage(image, ImageReading::Replace, decoded).complete;
  list_ = std::move(decoded);
  unique_names_ = false;
  image_.Forget();
  SetModified(true);
  return complete;
}

void ORVPropertySet::MergePropertiesBinary(const ImageBytes& image, bool overwrite_existing,
                                           bool add_new) {
  ORVPropertyList decoded;
  DecodeImage(image, ImageReading::Merge, decoded);
  if (!decoded.empty()) MergeProperties(decoded, overwrite_existing, add_new);
}

void ORVPropertySet::Clear() {
  const auto guard = Locked();
  list_.clear();
  unique_names_ = true;
  image_.Forget();
}

void ORVPropertySet::SetAllProperties(const ORVPropertyList& list, bool notify) {
  const auto guard = Locked();
  if (notify) {
    ORVPropertySet::Clear();
    for (const ORVPropertyEntry& entry : list) SetProperty(entry.name.c_str(), entry.value);
  } else {
    list_ = list;
    unique_names_ = false;
    image_.Forget();
  }
  SetModified(true);
}

void ORVPropertySet::CopyFrom(ORVPropertySet& other) {
  if (&other == this) return;
  ORVPropertyList list;
  other.GetAllProperties(list);
  SetAllProperties(list, true);
}

void ORVPropertySet::MergeProperties(const ORVPropertyList& list, bool overwrite_existing,
                                     bool add_new) {
  // By position: the list may belong to another set, and a listener may add to that set meanwhile.
  for (std::size_t i = 0; i < list.size(); ++i) {
    const wchar_t* name = list[i].name.c_str();
    const bool wanted = HasProperty(name) ? overwrite_existing : add_new;
    if (wanted) SetProperty(name, list[i].value);
  }
}

void ORVPropertySet::MergeProperties(const ORVPropertySet& other, bool overwrite_existing,
                                     bool add_new) {
  const auto guard = Locked();
  MergeProperties(other.list_, overwrite_existing, add_new);
}

bool ORVPropertySet::Store(std::size_t index, const wchar_t* name, boost::any&& value) {
  if (index == list_.size())
    list_.push_back({name, std::move(value)});
  else if (SameValue(list_[index].value, value))
    return false;
  else
    list_[index].value = std::move(value);
  image_.EntryChanged(index);
  return true;
}

// Listeners may change the set during the call: after it neither the arguments nor the address of
// an entry are used. Without listeners, nothing has to be copied.
void ORVPropertySet::SetProperty(const wchar_t* name, boost::any&& value) {
  const auto guard = Locked();
  std::size_t index = FindEntry(name);
  if (listeners_.empty()) {
    if (Store(index, name, std::move(value))) NotifyChanged(list_[index]);
    return;
  }
  const bool known = index != list_.size();
  const ORVPropertyEntry change{known ? list_[index].name : name, std::move(value)};
  if (known) {
    NotifyChanging(change);
    index = FindEntry(change.name.c_str());
  }
  if (Store(index, change.name.c_str(), boost::any(change.value))) NotifyChanged(change);
}

bool ORVPropertySet::HasProperty(const wchar_t* name) const {
  const auto guard = Locked();
  return FindEntry(name) != list_.size();
}

bool ORVPropertySet::GetProperty(const wchar_t* name, boost::any& out) {
  const auto guard = Locked();
  const std::size_t index = FindEntry(name);
  if (index == list_.size()) return false;
  out = list_[index].value;
  return true;
}

namespace {

// Takes over a form of the named value, if there is one.
template <class Form, class T>
bool GetForm(ORVPropertySet& set, const wchar_t* name, Form form, T& out) {
  boost::any value;
  if (!set.GetProperty(name, value)) return false;
  auto converted = form(value);
  if (!converted) return false;
  out = std::move(*converted);
  return true;
}

}  // namespace

bool ORVPropertySet::GetProperty(const wchar_t* name, std::string& out) {
  return GetForm(*this, name, NarrowTextOf, out);
}

bool ORVPropertySet::GetProperty(const wchar_t* name, std::wstring& out) {
  return GetForm(*this, name, WideTextOf, out);
}

bool ORVPropertySet::GetProperty(const wchar_t* name, std::int32_t& out) {
  return GetForm(*this, name, IntegerOf, out);
}

void ORVPropertySet::AddNotify(IORVPropertySetNotify* listener) {
  const auto guard = Locked();
  listeners_.try_emplace(listener, true);
}

void ORVPropertySet::RemoveNotify(IORVPropertySetNotify* listener) {
  const auto guard = Locked();
  listeners_.erase(listener);
}

// Continues by key, so that a listener may add and remove listeners, itself included.
template <class Call>
void ORVPropertySet::ForEachListener(Call call) {
  for (auto it = listeners_.begin(); it != listeners_.end();) {
    IORVPropertySetNotify* listener = it->first;
    if (it->second) call(*listener);
    it = listeners_.upper_bound(listener);
  }
}

void ORVPropertySet::NotifyChanged(const ORVPropertyEntry& entry) {
  SetModified(true);
  ForEachListener(
      [&](IORVPropertySetNotify& listener) { listener.OnPropertyChanged(*this, entry); });
}

bool ORVPropertySet::NotifyChanging(const ORVPropertyEntry& entry) {
  bool any = false;
  ForEachListener([&](IORVPropertySetNotify& listener) {
    any = listener.OnPropertyChanging(*this, entry) || any;
  });
  return any;
}

}  // namespace orv
