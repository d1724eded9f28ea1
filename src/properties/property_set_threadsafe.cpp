#include "properties/property_set.h"

namespace orv {

using Guard = std::lock_guard<std::recursive_mutex>;

void ORVPropertySetThreadsafe::GetAllProperties(ORVPropertyList& out) {
  const Guard guard(lock_);
  ORVPropertySet::GetAllProperties(out);
}

bool ORVPropertySetThreadsafe::GetAllPropertiesBinary(ImageBytes& out) {
  const Guard guard(lock_);
  return ORVPropertySet::GetAllPropertiesBinary(out);
}

bool ORVPropertySetThreadsafe::UseAllPropertiesBinary(const ImageUse& use) {
  const Guard guard(lock_);
  return ORVPropertySet::UseAllPropertiesBinary(use);
}

bool ORVPropertySetThreadsafe::SetAllPropertiesBinary(const ImageBytes& image) {
  const Guard guard(lock_);
  return ORVPropertySet::SetAllPropertiesBinary(image);
}

void ORVPropertySetThreadsafe::Clear() {
  const Guard guard(lock_);
  ORVPropertySet::Clear();
}

void ORVPropertySetThreadsafe::SetAllProperties(const ORVPropertyList& list, bool notify) {
  const Guard guard(lock_);
  ORVPropertySet::SetAllProperties(list, notify);
}

void ORVPropertySetThreadsafe::MergeProperties(const ORVPropertySet& other, bool overwrite_existing,
                                               bool add_new) {
  const Guard guard(lock_);
  ORVPropertySet::MergeProperties(other, overwrite_existing, add_new);
}

void ORVPropertySetThreadsafe::SetProperty(const wchar_t* name, const boost::any& value) {
  const Guard guard(lock_);
  ORVPropertySet::SetProperty(name, value);
}

bool ORVPropertySetThreadsafe::HasProperty(const wchar_t* name) const {
  const Guard guard(lock_);
  return ORVPropertySet::HasProperty(name);
}

bool ORVPropertySetThreadsafe::GetProperty(const wchar_t* name, boost::any& out) {
  const Guard guard(lock_);
  return ORVPropertySet::GetProperty(name, out);
}

void ORVPropertySetThreadsafe::AddNotify(IORVPropertySetNotify* listener) {
  const Guard guard(lock_);
  ORVPropertySet::AddNotify(listener);
}

void ORVPropertySetThreadsafe::RemoveNotify(IORVPropertySetNotify* listener) {
  const Guard guard(lock_);
  ORVPropertySet::RemoveNotify(listener);
}

}  // namespace orv
