// One property's value: a boost::any holding exactly one of ten kinds, each with its tag in the
// binary image.
#pragma once

#include <boost/any.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv {

// The 32-bit integer kind "long", apart from int although equally wide. (The language's own long is
// 64 bits wide on some builds, so it is never held.)
struct LongValue {
  std::int32_t value = 0;
  friend bool operator==(LongValue, LongValue) = default;
};

enum class PropertyKind : std::uint8_t {
  Long = 0,
  Int = 1,
  Short = 2,
  Float = 3,
  Double = 4,
  Bool = 5,
  NarrowText = 6,
  WideText = 7,
  SignedBytes = 8,
  UnsignedBytes = 9,
};

using SignedBytes = std::vector<signed char>;
using UnsignedBytes = std::vector<unsigned char>;

// Nothing for an empty value and for a value of any other type.
std::optional<PropertyKind> KindOf(const boost::any& value);

// Same kind and same content. A NaN equals nothing.
bool SameValue(const boost::any& a, const boost::any& b);

// Text forms; nothing for a value of no known kind. Byte vectors are upper-case hexadecimal digits.
std::optional<std::string> NarrowTextOf(const boost::any& value);
std::optional<std::wstring> WideTextOf(const boost::any& value);

// Integer form: integers and bool as they are, text parsed as a 32-bit decimal integer (throws
// boost::bad_lexical_cast when it is none). Nothing for float, double, byte vectors and unknown
// kinds.
std::optional<std::int32_t> IntegerOf(const boost::any& value);

}  // namespace orv
