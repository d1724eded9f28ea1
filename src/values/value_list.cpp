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
  const auto update = [&] {
    for (const auto& [key, value] : other)
      if (ORVQVTValue* mine = Find(value.GetName())) *mine = value;
  };
  const auto add = [&] {
    for (const auto& [key, value] : other)
      if (std::as_const(*this).Find(value.GetName()) == nullptr) GetOrAdd(value.GetName()) = value;
  };
  const auto remove = [&] {
    ORVQVTNameList names;
    for (const auto& [key, value] : other) names.Add(value.GetName());
    RemoveNames(names);
  };
  switch (mode) {
    case kORVQVT_Merge_UpdateAndAdd:
      update();
      add();
      break;
    case kORVQVT_Merge_UpdateOnly:
      update();
      break;
    case kORVQVT_Merge_AddOnly:
      add();
      break;
    case kORVQVT_Merge_Remove:
      remove();
      break;
    default:
      values_ = other.values_;
      break;
  }
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
    ORVQVTValue value;
    value.SetName(Narrow(property.name));
    AssignFromProperty(property.value, value);
    GetOrAdd(value.GetName()) = value;
  }
}

void ORVQVTValueList::SaveToPropertySet(ORVPropertySet& set) const {
  for (const auto& [key, value] : values_)
    set.SetProperty(value.GetWName().c_str(), value.ToString());
}

}  // namespace orv
