#include "properties/property_value.h"

#include <boost/algorithm/hex.hpp>
#include <boost/lexical_cast.hpp>
#include <type_traits>

#include "platform/text.h"

namespace orv {
namespace {

template <class T>
std::string NarrowForm(const T& value) {
  if constexpr (std::is_arithmetic_v<T>)
    return boost::lexical_cast<std::string>(value);
  else
    return boost::algorithm::hex(std::string(value.begin(), value.end()));
}
std::string NarrowForm(LongValue number) { return NarrowForm(number.value); }
std::string NarrowForm(const std::string& text) { return text; }
std::string NarrowForm(const std::wstring& text) { return Narrow(text); }

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
  else if constexpr (std::is_same_v<T, LongValue>)
    return value.value;
  else if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, std::wstring>)
    return boost::lexical_cast<std::int32_t>(value);
  else
    return std::nullopt;
}

}  // namespace

std::optional<PropertyKind> KindOf(const boost::any& value) {
  std::optional<PropertyKind> kind;
  VisitValue(value, [&]<class T>(const T&) { kind = kKindOfType<T>; });
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
