// Calls a function with the content of a property value: the only place that distinguishes the ten
// kinds.
#pragma once

#include <boost/any.hpp>
#include <cstdint>
#include <string>

#include "properties/property_value.h"

namespace orv {

// Kind of a held type; no member for any other type.
template <class T>
struct KindOfType;
template <PropertyKind kind>
struct KindConstant {
  static constexpr PropertyKind value = kind;
};
template <>
struct KindOfType<LongValue> : KindConstant<PropertyKind::Long> {};
template <>
struct KindOfType<int> : KindConstant<PropertyKind::Int> {};
template <>
struct KindOfType<short> : KindConstant<PropertyKind::Short> {};
template <>
struct KindOfType<float> : KindConstant<PropertyKind::Float> {};
template <>
struct KindOfType<double> : KindConstant<PropertyKind::Double> {};
template <>
struct KindOfType<bool> : KindConstant<PropertyKind::Bool> {};
template <>
struct KindOfType<std::string> : KindConstant<PropertyKind::NarrowText> {};
template <>
struct KindOfType<std::wstring> : KindConstant<PropertyKind::WideText> {};
template <>
struct KindOfType<SignedBytes> : KindConstant<PropertyKind::SignedBytes> {};
template <>
struct KindOfType<UnsignedBytes> : KindConstant<PropertyKind::UnsignedBytes> {};

namespace detail {

template <class T, class Visitor>
bool VisitAs(const boost::any& value, Visitor& visitor) {
  const T* const held = boost::any_cast<T>(&value);
  if (held != nullptr) visitor(*held);
  return held != nullptr;
}

template <class... Types, class Visitor>
bool VisitFirst(const boost::any& value, Visitor& visitor) {
  return (VisitAs<Types>(value, visitor) || ...);
}

}  // namespace detail

// Returns false without a call if the value is empty or its kind is unknown. Controls are stored as
// narrow text and numbers from the registry as longs, so these two are tried first.
template <class Visitor>
bool VisitValue(const boost::any& value, Visitor&& visitor) {
  return detail::VisitFirst<std::string, LongValue, int, float, bool, std::wstring, UnsignedBytes,
                            SignedBytes, double, short>(value, visitor);
}

}  // namespace orv
