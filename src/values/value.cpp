#include "values/value.h"

#include <boost/lexical_cast.hpp>
#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <limits>
#include <utility>

#include "platform/text.h"

namespace orv {
namespace {

constexpr std::int32_t kNoInteger = -1;
constexpr float kNoFloat = -1.0F;

// 2 to the power of 31.
constexpr float kIntegerEnd = 2147483648.0F;

boost::any Narrowed(boost::any held) {
  if (const auto* wide = boost::any_cast<std::wstring>(&held)) return Narrow(*wide);
  return held;
}

// Calls `convert` with the held text, integer or float; returns `other` for any other kind.
template <class Result, class Convert>
Result Converted(const boost::any& held, Result other, Convert convert) {
  if (const auto* text = boost::any_cast<std::string>(&held)) return convert(*text);
  if (const auto* number = boost::any_cast<LongValue>(&held)) return convert(number->value);
  if (const auto* number = boost::any_cast<int>(&held)) return convert(std::int32_t{*number});
  if (const auto* real = boost::any_cast<float>(&held)) return convert(*real);
  return other;
}

std::int32_t IntegerOf(std::int32_t number) { return number; }
std::int32_t IntegerOf(float real) {  // truncated
  const bool in_range = real >= -kIntegerEnd && real < kIntegerEnd;
  return in_range ? static_cast<std::int32_t>(real) : std::numeric_limits<std::int32_t>::min();
}
std::int32_t IntegerOf(const std::string& text) {
  if (text == "Enabled") return 1;
  if (text == "Disabled") return 0;
  std::int32_t number = 0;
  if (text.find('.') == std::string::npos)
    return boost::conversion::try_lexical_convert(text, number) ? number : kNoInteger;
  float real = 0;
  if (!boost::conversion::try_lexical_convert(text, real)) return kNoInteger;
  if (!(real > -kIntegerEnd && real < kIntegerEnd)) return kNoInteger;  // or not a number
  return boost::conversion::try_lexical_convert(real, number) ? number : kNoInteger;
}

std::string TextOf(const std::string& text) { return text; }
std::string TextOf(std::int32_t number) { return std::to_string(number); }
std::string TextOf(float real) { return boost::lexical_cast<std::string>(real); }

float RealOf(std::int32_t number) { return static_cast<float>(number); }
float RealOf(float real) { return real; }
float RealOf(const std::string& text) {
  float real = 0;
  return boost::conversion::try_lexical_convert(text, real) ? real : kNoFloat;
}

}  // namespace

ORVQVTValue::ORVQVTValue() : ORVQVTValue("Unnamed", 0) {}

ORVQVTValue::ORVQVTValue(std::string name, boost::any held)
    : name_(std::move(name)), held_(Narrowed(std::move(held))) {}

ORVQVTValue::ORVQVTValue(std::string name, std::int32_t value)
    : name_(std::move(name)), held_(LongValue{value}) {}

std::wstring ORVQVTValue::GetWName() const { return Widen(name_); }

std::string ORVQVTValue::GetBaseName() const {
  const std::size_t colon = name_.find(':');
  return colon == std::string::npos ? name_ : name_.substr(colon + 1);
}

void ORVQVTValue::SetValue(const char* text) { held_ = std::string(text == nullptr ? "" : text); }

void ORVQVTValue::SetValue(const std::string& text) { held_ = text; }

void ORVQVTValue::SetValue(const wchar_t* text) {
  held_ = Narrow(text == nullptr ? std::wstring_view() : text);
}

void ORVQVTValue::SetValue(const std::wstring& text) { held_ = Narrow(text); }

void ORVQVTValue::SetValue(std::int32_t value) { held_ = LongValue{value}; }

void ORVQVTValue::SetValue(const boost::any& held) { held_ = Narrowed(held); }

std::string ORVQVTValue::ToString() const {
  return Converted(held_, std::string(), [](const auto& held) { return TextOf(held); });
}

std::wstring ORVQVTValue::ToWString() const { return Widen(ToString()); }

std::int32_t ORVQVTValue::ToLong() const {
  return Converted(held_, kNoInteger, [](const auto& held) { return IntegerOf(held); });
}

float ORVQVTValue::ToFloat() const {
  return Converted(held_, kNoFloat, [](const auto& held) { return RealOf(held); });
}

bool ORVQVTValue::Equals(const ORVQVTValue& other) const {
  return name_ == other.name_ && ToString() == other.ToString();
}

bool ORVQVTValue::EqualsText(const char* text) const {
  return text != nullptr && ToString() == text;
}

}  // namespace orv
