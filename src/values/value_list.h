// Control values by name (exact, case-sensitive), iterated in byte order of the names.
#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "properties/property_set.h"
#include "values/name_list.h"
#include "values/overridable.h"
#include "values/value.h"

namespace orv {

enum ORVQVTMerge : std::uint32_t {
  kORVQVT_Merge_Replace = 0,
  kORVQVT_Merge_UpdateAndAdd = 1,
  kORVQVT_Merge_UpdateOnly = 2,
  kORVQVT_Merge_AddOnly = 3,
  kORVQVT_Merge_Remove = 4,
};

// Assigns a property of the long kind, narrow text or wide text, which is narrowed. Returns false,
// with `value` unchanged, for any other kind.
bool AssignFromProperty(const boost::any& property, ORVQVTValue& value);

class ORVQVTValueList : public Overridable {
 public:
  using Map = std::map<std::string, ORVQVTValue>;

  // Null if there is none. Valid until the value is removed or the list replaced, cleared or
  // destroyed.
  virtual ORVQVTValue* Find(const std::string& name);
  virtual ORVQVTValue* Find(const char* name);
  virtual const ORVQVTValue* Find(const std::string& name) const;
  virtual const ORVQVTValue* Find(const char* name) const;
  virtual void Merge(const ORVQVTValueList& other, std::uint32_t mode);  // an unknown mode replaces
  virtual void RemoveNames(const ORVQVTNameList& names);

  // The value under this name; a new one ("Unnamed", long 0) if there was none.
  ORVQVTValue& GetOrAdd(const std::string& name);
  void Remove(const std::string& name) noexcept { values_.erase(name); }
  void Clear() noexcept { values_.clear(); }
  std::size_t Count() const noexcept { return values_.size(); }
  Map::const_iterator begin() const noexcept { return values_.begin(); }
  Map::const_iterator end() const noexcept { return values_.end(); }

  // A list with values only updates them from the set's properties of the same names; an empty one
  // receives every property.
  void LoadFromPropertySet(ORVPropertySet& set);
  // Every value becomes a narrow-text property.
  void SaveToPropertySet(ORVPropertySet& set) const;

 private:
  Map values_;
};

}  // namespace orv
