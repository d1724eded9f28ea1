#include "values/value_list.h"

#include <utility>

#include "platform/text.h"

namespace orv {

bool AssignFromProperty(const boost::any& property, ORVQVTValue& value) {
  if (const auto* text = boost::any_cast<std::string>(&property))
    value.SetValue(*text);
  else if (const auto* number = boost::any_cast<LongValue>(&property))
    value.SetValue(number->value);
  else if (const auto* wide = boost::any_cast<std::wstring>(&property))
    value.SetValue(*wide);
  else
    return false;
  return true;
}

ORVQVTValue* ORVQVTValueList::Find(const std::string& name) {
  const auto found = values_.find(name);
  return found == values_.end() ? nullptr : &found->second;
}

ORVQVTValue* ORVQVTValueList::Find(const char* name) { return Find(std::string(name)); }

const ORVQVTValue* ORVQVTValueList::Find(const std::string& name) const {
  const auto found = values_.find(name);
  return found == values_.end() ? nullptr : &found->second;
}

const ORVQVTValue* ORVQVTValueList::Find(const char* name) const { return Find(std::string(name)); }

void ORVQVTValueList::Merge(const ORVQVTValueList& other, std::uint32_t mode) {
  if (mode == kORVQVT_Merge_Remove) {
    ORVQVTNameList names;
    for (const auto& [key, value] : other) names.Add(value.GetName());
    return RemoveNames(names);
  }
  const bool updates = mode == kORVQVT_Merge_UpdateAndAdd || mode == kORVQVT_Merge_UpdateOnly;
  const bool adds = mode == kORVQVT_Merge_UpdateAndAdd || mode == kORVQVT_Merge_AddOnly;
  if (!updates && !adds) values_ = other.values_;
  for (const auto& [key, value] : other)
    if (ORVQVTValue* mine = updates ? Find(value.GetName()) : nullptr) *mine = value;
  for (const auto& [key, value] : other)
    if (adds && Find(value.GetName()) == nullptr) GetOrAdd(value.GetName()) = value;
}

void ORVQVTValueList::RemoveNames(const ORVQVTNameList& names) {
  for (const std::string& name : names) values_.erase(name);
}

ORVQVTValue& ORVQVTValueList::GetOrAdd(const std::string& name) { return values_[name]; }

void ORVQVTValueList::LoadFromPropertySet(ORVPropertySet& set) {
  if (!values_.empty()) {
    for (auto& [key, value] : values_) {
      boost::any property;
      if (set.GetProperty(value.GetWName().c_str(), property)) AssignFromProperty(property, value);
    }
    return;
  }
  ORVPropertyList properties;
  set.GetAllProperties(properties);
  for (const ORVPropertyEntry& property : properties) {
    const std::string name = Narrow(property.name);
    ORVQVTValue value(name, 0);
    AssignFromProperty(property.value, value);
    values_.insert_or_assign(values_.end(), name, std::move(value));  // mostly in name order
  }
}

void ORVQVTValueList::SaveToPropertySet(ORVPropertySet& set) const {
  for (const auto& [key, value] : values_)
    set.SetProperty(value.GetWName().c_str(), value.ToString());
}

}  // namespace orv
