#include "properties/property_value.h"

#include <boost/algorithm/hex.hpp>
#include <boost/lexical_cast.hpp>
#include <iterator>
#include <type_traits>

#include "platform/text.h"
#include "properties/property_visit.h"

namespace orv {
namespace {

std::string NarrowForm(LongValue number) { return boost::lexical_cast<std::string>(number.value); }
std::string NarrowForm(const std::string& text) { return text; }
std::string NarrowForm(const std::wstring& text) { return Narrow(text); }

template <class Number>
requires std::is_arithmetic_v<Number> std::string NarrowForm(Number number) {
  return boost::lexical_cast<std::string>(number);
}

template <class Byte>
std::string NarrowForm(const std::vector<Byte>& bytes) {
  std::string digits;
  digits.reserve(bytes.size() * 2);
  boost::algorithm::hex(bytes.begin(), bytes.end(), std::back_inserter(digits));
  return digits;
}

template <class T>
std::wstring WideForm(const T& value) {
  const std::string ascii = NarrowForm(value);
  return std::wstring(ascii.begin(), ascii.end());
}
std::wstring WideForm(const std::string& text) { return Widen(text); }
std::wstring WideForm(const std::wstring& text) { return text; }

template <class T>
std::optional<std::int32_t> IntegerForm(const T& value) {
  if constexpr (std::is_integral_v<T>)
    return value;
  else
    return std::nullopt;
}
std::optional<std::int32_t> IntegerForm(LongValue number) { return number.value; }
std::optional<std::int32_t> IntegerForm(const std::string& text) {
  return boost::lexical_cast<std::int32_t>(text);
}
std::optional<std::int32_t> IntegerForm(const std::wstring& text) {
  return boost::lexical_cast<std::int32_t>(text);
}

}  // namespace

std::optional<PropertyKind> KindOf(const boost::any& value) {
  std::optional<PropertyKind> kind;
  VisitValue(value, [&]<class T>(const T&) { kind = KindOfType<T>::value; });
  return kind;
}

bool SameValue(const boost::any& a, const boost::any& b) {
  bool same = false;
  VisitValue(a, [&]<class T>(const T& content) {
    const T* other = boost::any_cast<T>(&b);
    same = other != nullptr && content == *other;
  });
  return same;
}

std::optional<std::string> NarrowTextOf(const boost::any& value) {
  std::optional<std::string> text;
  VisitValue(value, [&](const auto& content) { text = NarrowForm(content); });
  return text;
}

std::optional<std::wstring> WideTextOf(const boost::any& value) {
  std::optional<std::wstring> text;
  VisitValue(value, [&](const auto& content) { text = WideForm(content); });
  return text;
}

std::optional<std::int32_t> IntegerOf(const boost::any& value) {
  std::optional<std::int32_t> number;
  VisitValue(value, [&](const auto& content) { number = IntegerForm(content); });
  return number;
}

}  // namespace orv
