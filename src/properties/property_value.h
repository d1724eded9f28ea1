// Properties: names with a value, which is a boost::any holding exactly one of ten kinds.
#pragma once

#include <boost/any.hpp>
#include <boost/mp11.hpp>
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

// The number of a kind is its tag in the binary image.
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

// The types that a value may hold, in the order of their kinds.
using PropertyTypes = boost::mp11::mp_list<LongValue, int, short, float, double, bool, std::string,
                                           std::wstring, SignedBytes, UnsignedBytes>;
template <class T>
inline constexpr auto kKindOfType =
    static_cast<PropertyKind>(boost::mp11::mp_find<PropertyTypes, T>::value);

// Calls the visitor with what the value holds, unless the value is empty or of another type.
// Controls are stored as narrow text and numbers from the registry as longs, so these two are tried
// first.
template <class Visitor>
void VisitValue(const boost::any& value, Visitor&& visitor) {
  using Order = boost::mp11::mp_unique<
      boost::mp11::mp_append<boost::mp11::mp_list<std::string, LongValue>, PropertyTypes>>;
  const auto visit = [&](const auto* held) {
    if (held != nullptr) visitor(*held);
    return held != nullptr;
  };
  [&]<class... Types>(boost::mp11::mp_list<Types...>) {
    static_cast<void>((visit(boost::any_cast<Types>(&value)) || ...));
  }(Order());
}

struct ORVPropertyEntry {
  std::wstring name;
  boost::any value;
};
using ORVPropertyList = std::vector<ORVPropertyEntry>;  // in a fixed order

// Returns nullopt for an empty value and for a value of any other type.
std::optional<PropertyKind> KindOf(const boost::any& value);

// Same kind and same content. A NaN is never the same.
bool SameValue(const boost::any& a, const boost::any& b);

// Text forms; nullopt for a value of no known kind. Byte vectors are upper-case hexadecimal digits.
std::optional<std::string> NarrowTextOf(const boost::any& value);
std::optional<std::wstring> WideTextOf(const boost::any& value);

// Integer form: integers and bool as they are, text parsed as a 32-bit decimal integer (throws
// boost::bad_lexical_cast if it is not one); nullopt for float, double, byte vectors and unknown
// kinds.
std::optional<std::int32_t> IntegerOf(const boost::any& value);

}  // namespace orv
